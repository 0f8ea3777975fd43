# The Debian packages. `cpack` in the build folder makes them of what is built there; package.sh does
# everything.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME logdesk)
set(CPACK_PACKAGE_VENDOR "The LogDesk developers")
set(CPACK_PACKAGE_CONTACT "The LogDesk developers <logdesk@arvenza.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://arvenza.example/logdesk")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Files that name their own place have to name the one below /usr, not the one below the folder where
# the package is put together.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_BINARY_DIR}/FinishPackages.cmake)
configure_file(${CMAKE_SOURCE_DIR}/packaging/FinishPackages.cmake.in
    ${CMAKE_BINARY_DIR}/FinishPackages.cmake @ONLY)

set(CPACK_COMPONENTS_ALL logdesk zulogsvc zulog zulog_library zulog_development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE logdesk)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(scripts ${CMAKE_SOURCE_DIR}/packaging/debian)

set(CPACK_DEBIAN_LOGDESK_PACKAGE_NAME logdesk)
set(CPACK_DEBIAN_LOGDESK_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_LOGDESK_PACKAGE_RECOMMENDS "zulogsvc, qttranslations5-l10n")
set(CPACK_DEBIAN_LOGDESK_PACKAGE_SUGGESTS zulog)
set(CPACK_DEBIAN_LOGDESK_DESCRIPTION "window for watching the machine's log service live
LogDesk shows what the programs of this machine write to its log service, as
it is written, in a table that can be sorted, filtered and searched meanwhile.
It opens and saves log files, and edits the configuration by which the service
decides what to log.
.
The user guide is part of the package.")

set(CPACK_DEBIAN_ZULOGSVC_PACKAGE_NAME zulogsvc)
set(CPACK_DEBIAN_ZULOGSVC_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_ZULOGSVC_PACKAGE_DEPENDS
    "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_DEBIAN_ZULOGSVC_PACKAGE_SUGGESTS "logdesk, zulog")
set(CPACK_DEBIAN_ZULOGSVC_PACKAGE_CONTROL_EXTRA
    ${scripts}/zulogsvc/postinst ${scripts}/zulogsvc/prerm ${scripts}/zulogsvc/postrm)
set(CPACK_DEBIAN_ZULOGSVC_DESCRIPTION "log service of the machine
Takes log messages from every program of this machine over the loopback, lets
through what its configuration allows, and hands them to files, a replay
memory and whoever asks for them, such as logdesk and zulog.
.
The service is started when the administrator says so:
systemctl enable --now ZULogSvc")

set(CPACK_DEBIAN_ZULOG_PACKAGE_NAME zulog)
set(CPACK_DEBIAN_ZULOG_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_ZULOG_PACKAGE_RECOMMENDS zulogsvc)
set(CPACK_DEBIAN_ZULOG_DESCRIPTION "command line of the machine's log service
Sends messages to the log service, shows those that come, reads and replaces
its configuration, tells how it is doing and makes realistic traffic. For
terminals and scripts.")

set(CPACK_DEBIAN_ZULOG_LIBRARY_PACKAGE_NAME libzulog1)
set(CPACK_DEBIAN_ZULOG_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ZULOG_LIBRARY_PACKAGE_SUGGESTS zulogsvc)
# The trigger has the linker's cache renewed. CPack would add scripts that do it once more, unless it
# is told of others; those are not there, so the package has none.
set(CPACK_DEBIAN_ZULOG_LIBRARY_PACKAGE_CONTROL_EXTRA ${scripts}/libzulog1/triggers
    ${scripts}/libzulog1/none/postinst ${scripts}/libzulog1/none/postrm)
set(CPACK_DEBIAN_ZULOG_LIBRARY_DESCRIPTION "library for sending messages to the machine's log service
Programs log with it by module and group: a call never waits for the service
and never fails. It has a C interface and needs the C++ run-time library only.")

set(CPACK_DEBIAN_ZULOG_DEVELOPMENT_PACKAGE_NAME libzulog-dev)
set(CPACK_DEBIAN_ZULOG_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_ZULOG_DEVELOPMENT_PACKAGE_DEPENDS "libzulog1 (= ${version})")
set(CPACK_DEBIAN_ZULOG_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkg-config, zulogsvc")
set(CPACK_DEBIAN_ZULOG_DEVELOPMENT_DESCRIPTION "files for building programs with libzulog
Headers for C and C++, with hooks for Qt and spdlog, the files by which CMake
and pkg-config find the library, and examples.")

include(CPack)
