# Installation and the Debian package (CPack DEB) of the host with everything it needs: the platform
# libraries and the module in a private folder beside the host (they find each other through
# $ORIGIN/../lib), the pages, the default module settings, and the systemd unit with its system user.
# The package's architecture is the one the build targets, so a cross build makes the armhf package.
#
#   cmake --build BUILD --target package      (after building; packages land in BUILD)
include(GNUInstallDirs)

set(KYR_PACKAGE_NAME wbm-host)
set(KYR_PACKAGE_USER wbm-host)
set(kyrPrivateDir lib/${KYR_PACKAGE_NAME})
set(KYR_PACKAGE_HOST /usr/${kyrPrivateDir}/bin/wbm-host)
set(KYR_PACKAGE_WEB_ROOT /usr/share/${KYR_PACKAGE_NAME}/web)
set(KYR_PACKAGE_SETTINGS /etc/${KYR_PACKAGE_NAME}/UmWbmModuleSettings.xml)

# Building comes first (scripts build, then package), so installing does not rebuild everything.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

get_target_property(kyrPlatformLibraries kyr_platform INTERFACE_LINK_LIBRARIES)
install(TARGETS wbm-host RUNTIME DESTINATION ${kyrPrivateDir}/bin)
install(TARGETS kyr_wbm_um kyr_directory_client ${kyrPlatformLibraries} LIBRARY DESTINATION ${kyrPrivateDir}/lib)
# The pages as they ship, minified and gzip-compressed (cmake/Pages.cmake): the host sends them so,
# or inflated to a client that does not take gzip.
install(DIRECTORY ${kyrShippedPages}/ DESTINATION share/${KYR_PACKAGE_NAME}/web)
# One command on the PATH for trying options by hand (the host finds its libraries through its real path).
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packaging)
file(CREATE_LINK ../${kyrPrivateDir}/bin/wbm-host ${CMAKE_CURRENT_BINARY_DIR}/packaging/wbm-host SYMBOLIC)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packaging/wbm-host DESTINATION ${CMAKE_INSTALL_BINDIR})

# Files with absolute places on the device (/etc, /lib/systemd); the control scripts get the paths filled in.
set(kyrPackaging ${PROJECT_SOURCE_DIR}/packaging)
set(kyrGenerated ${CMAKE_CURRENT_BINARY_DIR}/packaging)
foreach(file wbm-host.service sysusers.conf default conffiles postinst prerm postrm)
  configure_file(${kyrPackaging}/${file}.in ${kyrGenerated}/${file} @ONLY)
endforeach()
install(FILES ${kyrGenerated}/wbm-host.service DESTINATION lib/systemd/system RENAME ${KYR_PACKAGE_NAME}.service)
install(FILES ${kyrGenerated}/sysusers.conf DESTINATION lib/sysusers.d RENAME ${KYR_PACKAGE_NAME}.conf)
install(FILES ${kyrGenerated}/default DESTINATION /etc/default RENAME ${KYR_PACKAGE_NAME})
install(FILES ${PROJECT_SOURCE_DIR}/settings/UmWbmModuleSettings.xml DESTINATION /etc/${KYR_PACKAGE_NAME})
file(CHMOD ${kyrGenerated}/postinst ${kyrGenerated}/prerm ${kyrGenerated}/postrm
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The Debian architecture of the target (armhf for the controller's cross build).
find_program(KYR_DPKG_ARCHITECTURE dpkg-architecture)
if(KYR_DPKG_ARCHITECTURE AND CMAKE_LIBRARY_ARCHITECTURE)
  execute_process(COMMAND ${KYR_DPKG_ARCHITECTURE} -t ${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
                  OUTPUT_VARIABLE kyrDebianArchitecture OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT kyrDebianArchitecture)
  execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE kyrDebianArchitecture OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${KYR_PACKAGE_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Device web-based management: user management")
set(CPACK_PACKAGE_DESCRIPTION "The user-management module of the device's web-based management with its \
platform libraries and services and the host that serves its pages over HTTPS.")
set(CPACK_PACKAGE_CONTACT "Device web-based management developers <wbm-dev@localhost>")
set(CPACK_STRIP_FILES ON)
# The package installs below /usr whatever the build's own install prefix is.
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Some files have absolute places (/etc): the package is staged through DESTDIR so they land in it.
set(CPACK_SET_DESTDIR ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${kyrDebianArchitecture})
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
# The system libraries the programs need, found by dpkg-shlibdeps (for the target's architecture).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${kyrGenerated}/conffiles ${kyrGenerated}/postinst ${kyrGenerated}/prerm ${kyrGenerated}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(KYR_PACKAGE_ARCHITECTURE ${kyrDebianArchitecture})
configure_file(${CMAKE_CURRENT_LIST_DIR}/PackagingRun.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/CPackProjectConfig.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/CPackProjectConfig.cmake)
include(CPack)
