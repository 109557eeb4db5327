# cmake -DSOURCE=<resources folder> -DDESTINATION=<bundle>/Contents/Resources -P CopyResources.cmake
# Copies every resource into the bundle except the templates (*.in), which
# are configured into place by the build itself.
file(GLOB entries RELATIVE ${SOURCE} ${SOURCE}/*)
file(MAKE_DIRECTORY ${DESTINATION})
foreach(entry ${entries})
  if(entry MATCHES "\\.in$")
    continue()
  endif()
  file(COPY ${SOURCE}/${entry} DESTINATION ${DESTINATION})
endforeach()
