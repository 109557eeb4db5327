# The Debian package (scripts/package): configured with -DSWEEPWELL_PACKAGE=ON
# and the prefix /usr, `cpack -G DEB` builds sweepwell-helper_<version>_amd64.deb
# with both bundles under /usr/lib/sweepwell, a launcher in /usr/bin, the
# system-wide autostart entry, the icon and the copyright file.
set(SWEEPWELL_PACKAGE_ROOT "${CMAKE_INSTALL_PREFIX}/${SWEEPWELL_BUNDLE_DESTINATION}")
set(staging "${CMAKE_BINARY_DIR}/packaging")
configure_file(packaging/sweepwell-helper.in "${staging}/sweepwell-helper" @ONLY)
configure_file(packaging/com.quorvex.Sweepwell-Plus-Helper.desktop.in
               "${staging}/com.quorvex.Sweepwell-Plus-Helper.desktop" COPYONLY)
configure_file(packaging/copyright.in "${staging}/copyright" COPYONLY)
configure_file(packaging/changelog.in "${staging}/changelog" @ONLY)
configure_file(packaging/sweepwell-helper.1.in "${staging}/sweepwell-helper.1" @ONLY)
# A package without a Debian revision is native: its changelog is changelog.gz.
foreach(page changelog sweepwell-helper.1)
  add_custom_command(OUTPUT "${staging}/${page}.gz"
    COMMAND gzip -9 -n -c "${staging}/${page}" > "${staging}/${page}.gz"
    DEPENDS "${staging}/${page}")
endforeach()
add_custom_target(package_files ALL
  DEPENDS "${staging}/changelog.gz" "${staging}/sweepwell-helper.1.gz")

install(PROGRAMS "${staging}/sweepwell-helper" DESTINATION bin)
install(FILES "${staging}/com.quorvex.Sweepwell-Plus-Helper.desktop"
        DESTINATION /etc/xdg/autostart)
install(FILES resources/icon_notification.svg DESTINATION share/icons/hicolor/scalable/apps
        RENAME sweepwell-helper.svg)
install(FILES "${staging}/copyright" "${staging}/changelog.gz"
        DESTINATION share/doc/sweepwell-helper)
install(FILES "${staging}/sweepwell-helper.1.gz" DESTINATION share/man/man1)

# The bundles are copied as folders, so their programs are stripped here.
install(CODE "
  foreach(program \"Sweepwell Helper.app/Contents/MacOS/SweepwellHelper\"
                  \"Sweepwell Helper.app/Contents/MacOS/LoginItem\" \"Sweepwell.app/Contents/MacOS/Sweepwell\")
    execute_process(COMMAND strip --strip-unneeded
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${SWEEPWELL_BUNDLE_DESTINATION}/\${program}\"
      RESULT_VARIABLE stripped)
    if(NOT stripped EQUAL 0)
      message(FATAL_ERROR \"could not strip \${program}\")
    endif()
  endforeach()")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sweepwell-helper)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR Quorvex)
set(CPACK_PACKAGE_CONTACT "Quorvex <support@quorvex.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "removes what trashed applications left behind")
set(CPACK_PACKAGE_DESCRIPTION "Sweepwell Helper watches the Trash. When an application lands
there it finds the caches, preferences, logs and support files the application
left in the home folder and offers to move them to the Trash as well.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
list(JOIN SWEEPWELL_RUNTIME_FONT_PACKAGES ", " fonts)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${fonts}")
# The autostart entry is the administrator's to edit: an upgrade keeps their changes.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_SOURCE_DIR}/packaging/conffiles")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
include(CPack)
