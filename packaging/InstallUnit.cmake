# Installs the unit with the path of the program as it is installed. `unit`: the file; `programs`:
# the folder of the programs, relative to the prefix or not.
get_filename_component(programs "${programs}" ABSOLUTE BASE_DIR "${CMAKE_INSTALL_PREFIX}")
set(command "${programs}/zulogsvc")
if(NOT command MATCHES "^[A-Za-z0-9_./+-]+$")
    # In a unit these mean something else.
    string(REPLACE "\\" "\\\\" command "${command}")
    string(REPLACE "\"" "\\\"" command "${command}")
    string(REPLACE "%" "%%" command "${command}")
    set(command "\"${command}\"")
endif()

file(READ "${unit}" text)
string(REPLACE "\nExecStart=/usr/bin/zulogsvc\n" "\nExecStart=${command}\n" text "${text}")
set(installed "${CMAKE_INSTALL_PREFIX}/lib/systemd/system/ZULogSvc.service")
message(STATUS "Installing: $ENV{DESTDIR}${installed}")
# Not through a file in the build folder: installations may run side by side.
file(WRITE "$ENV{DESTDIR}${installed}" "${text}")
file(CHMOD "$ENV{DESTDIR}${installed}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${installed}")
