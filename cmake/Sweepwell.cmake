# sweepwell_library(<name> DEPS <libs...>)
# One static library per source folder, named sw_<name>, with every .cpp of
# the folder. The include root is src/, so code includes "dispatch/Group.h".
function(sweepwell_library name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(sw_${name} STATIC ${sources})
    target_include_directories(sw_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(sw_${name} PUBLIC ${ARG_DEPS})
  else()
    # A folder whose classes have not been written yet.
    add_library(sw_${name} INTERFACE)
    target_include_directories(sw_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(sw_${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# sweepwell_test(<name> DEPS <libs...> [LABELS <labels...>])
# One GoogleTest executable per test folder, every .cpp in it.
function(sweepwell_test name)
  cmake_parse_arguments(ARG "" "" "DEPS;LABELS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${name} PRIVATE ${ARG_DEPS} sw_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(test_${name}
    PROPERTIES LABELS "${ARG_LABELS}"
    ENVIRONMENT "SWEEPWELL_FIXTURES=${SWEEPWELL_FIXTURES}"
    DISCOVERY_TIMEOUT 60)
endfunction()
