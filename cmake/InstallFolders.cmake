# Where things are installed. On Debian libraries lie in a folder named after the kind of machine,
# below /usr/local too, so that a build made for one place can be packaged for the other.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Folder of the libraries")
endif()
include(GNUInstallDirs)

# Every package has a folder for its documents, named like the package.
set(LOGDESK_DOC_FOLDER ${CMAKE_INSTALL_DATAROOTDIR}/doc)
file(RELATIVE_PATH LOGDESK_DOC_DIR_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR}
    ${CMAKE_INSTALL_FULL_DATAROOTDIR}/doc/logdesk)
