# What is installed: the libraries, their headers, the CMake package, the pkg-config files, the command with its man pages
# and completions, the examples and the documents. The tree works wherever it is moved to.
#
# It has three components, as the packages have (cmake/ClockpathPackage.cmake): what runs with the libraries, what
# compiles with them, and the tools, which is all that says nothing else.
include( CMakePackageConfigHelpers )

# clockpath_pkgconfig( NAME DESCRIPTION REQUIRES LIBS )
function( clockpath_pkgconfig name description requires libs )
   file( RELATIVE_PATH prefixFromPc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix )
   if ( requires )
      string( APPEND requires " = ${PROJECT_VERSION}" )
   endif()
   configure_file( cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY )
   install(
      FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development )
endfunction()

function( clockpath_install )
   set( CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools )
   # As CMakeLists.txt has it: whoever links the library needs it, also without calling it.
   set( libclockpath "-Wl,--push-state,--no-as-needed -lclockpath -Wl,--pop-state" )
   if ( NOT BUILD_SHARED_LIBS )
      set( libclockpath "-Wl,--undefined=clockpathLoadTime -lclockpath" )
   endif()
   set( libraries vor clockpath_lib )
   clockpath_pkgconfig( vor "Entities, notification, type registry, timers and traces of clockpath" "" -lvor )
   clockpath_pkgconfig( clockpath "${PROJECT_DESCRIPTION}" vor "${libclockpath}" )
   if ( CLOCKPATH_CARD )
      list( APPEND libraries clockpath_sim clockpath_card )
      clockpath_pkgconfig(
         clockpath-sim "The simulated card of clockpath, in virtual time" clockpath
         "-Wl,--undefined=nanosleep -Wl,--export-dynamic-symbol=nanosleep -lclockpath_sim" )
      clockpath_pkgconfig(
         clockpath-card "Entities and machines of one card of clockpath" clockpath-sim -lclockpath_card )
   endif()
   install(
      TARGETS ${libraries}
      EXPORT clockpath
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development )
   install(
      DIRECTORY ${PROJECT_BINARY_DIR}/include/clockpath DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development )

   set( package ${CMAKE_INSTALL_LIBDIR}/cmake/clockpath )
   install( EXPORT clockpath NAMESPACE clockpath:: FILE clockpathTargets.cmake DESTINATION ${package} COMPONENT development )
   configure_package_config_file(
      cmake/clockpathConfig.cmake.in ${PROJECT_BINARY_DIR}/clockpathConfig.cmake INSTALL_DESTINATION ${package}
      NO_SET_AND_CHECK_MACRO )
   write_basic_package_version_file(
      ${PROJECT_BINARY_DIR}/clockpathConfigVersion.cmake COMPATIBILITY SameMajorVersion )
   install(
      FILES ${PROJECT_BINARY_DIR}/clockpathConfig.cmake ${PROJECT_BINARY_DIR}/clockpathConfigVersion.cmake
      DESTINATION ${package} COMPONENT development )

   if ( CLOCKPATH_TOOLS )
      file( RELATIVE_PATH libFromBin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR} )
      set_target_properties( clockpath PROPERTIES INSTALL_RPATH "$ORIGIN/${libFromBin}" )
      install( TARGETS clockpath RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} )
      install( DIRECTORY ${PROJECT_BINARY_DIR}/share/ DESTINATION ${CMAKE_INSTALL_DATADIR} )
      # The agent as a service, where the system looks for it: never below lib/ARCHITECTURE.
      install( FILES systemd/clockpath@.service DESTINATION lib/systemd/system )
      install( FILES systemd/60-clockpath.rules DESTINATION lib/udev/rules.d )
      install( FILES systemd/clockpath-sysusers.conf DESTINATION lib/sysusers.d RENAME clockpath.conf )
      install( FILES systemd/clockpath-tmpfiles.conf DESTINATION lib/tmpfiles.d RENAME clockpath.conf )
   endif()
   install( DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/clockpath )
   install( FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} )
   install( DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} )
endfunction()
