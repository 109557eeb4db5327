# sweepwell_library(<name> [DEPS <libs...>] [PRIVATE_DEPS <libs...>])
# One static library per source folder, named sw_<name>, with every .cpp of
# the folder. The include root is src/, so code includes "dispatch/Group.h".
# DEPS: what the folder's headers include; PRIVATE_DEPS: what only its .cpp
# files do.
function(sweepwell_library name)
  cmake_parse_arguments(ARG "" "" "DEPS;PRIVATE_DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(sw_${name} STATIC ${sources})
    target_include_directories(sw_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(sw_${name} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  else()
    # A folder whose classes have not been written yet.
    add_library(sw_${name} INTERFACE)
    target_include_directories(sw_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(sw_${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# sweepwell_test(<name> [OWN_MAIN] DEPS <libs...> [LABELS <labels...>])
# One GoogleTest executable per test folder, every .cpp in it. OWN_MAIN: the
# folder supplies main() (to create an application object first).
function(sweepwell_test name)
  cmake_parse_arguments(ARG "OWN_MAIN" "" "DEPS;LABELS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources} ${PROJECT_SOURCE_DIR}/tests/support/guard/ExitDuringATest.cpp)
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${name} PRIVATE ${ARG_DEPS} sw_testsupport GTest::gtest GTest::gmock)
  if(NOT ARG_OWN_MAIN)
    target_link_libraries(test_${name} PRIVATE GTest::gtest_main)
  endif()
  set(properties ENVIRONMENT "SWEEPWELL_FIXTURES=${SWEEPWELL_FIXTURES}")
  if(ARG_LABELS)
    list(APPEND properties LABELS "${ARG_LABELS}")
  endif()
  gtest_discover_tests(test_${name} PROPERTIES ${properties} DISCOVERY_TIMEOUT 60)
endfunction()
