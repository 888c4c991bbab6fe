# Debian's packages of the installed tree, by CPack: the libraries, what compiles with them, and the tools, each a
# component (cmake/ClockpathInstall.cmake). scripts/package builds and checks them. What Debian wants of a package
# beside the tree is added by ClockpathPackageTree.cmake.
set( CPACK_GENERATOR DEB )
set( CPACK_PACKAGE_CONTACT "Clockpath developers <clockpath@lists.example.org>" )   # .example.org is nobody's
set( CPACK_PACKAGE_DESCRIPTION_SUMMARY "" )   # each package has its own
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_STRIP_FILES ON )
set( CPACK_COMPONENTS_ALL library development tools )
set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/ClockpathPackageTree.cmake )
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )
set( CPACK_DEBIAN_PACKAGE_PRIORITY optional )
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON )
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} )
set( CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON )

set( library libclockpath${PROJECT_VERSION_MAJOR} )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library} )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs )
set( CPACK_DEBIAN_LIBRARY_DESCRIPTION
   "PTP clocking path of a card - libraries
The drivers that reset, program and watch the clock chips of a card, and the
framework of entities, notification, timers and traces that they stand on." )
file( CONFIGURE OUTPUT debian/triggers CONTENT "activate-noawait ldconfig\n" )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers )

set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libclockpath-dev )
set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})" )
set( CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
   "PTP clocking path of a card - headers, and a card to test on
What an agent of one's own is compiled with: headers, files for CMake and for
pkg-config, and the simulated card in virtual time, as archives for tests." )

set( CPACK_DEBIAN_TOOLS_PACKAGE_NAME clockpath )
set( CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils )
set( CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})" )
set( CPACK_DEBIAN_TOOLS_DESCRIPTION
   "PTP clocking path of a card - agent and tools
The command that looks after the clock chips of a card, reads and writes their
registers, simulates a card with faults, and names the cause when a clock does
not come up." )
set( CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/postinst )

include( CPack )
