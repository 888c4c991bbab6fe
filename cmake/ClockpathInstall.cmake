# What is installed: both libraries, the headers of floors 1 to 6, the CMake package, the pkg-config files, the command,
# the examples and the documents. The tree works wherever it is moved to.
include( CMakePackageConfigHelpers )

function( clockpath_install )
   install(
      TARGETS vor clockpath_lib
      EXPORT clockpath
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} )
   install(
      DIRECTORY framework platform util hal hardware inventory sm
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/clockpath
      FILES_MATCHING PATTERN "*.h" )

   set( package ${CMAKE_INSTALL_LIBDIR}/cmake/clockpath )
   install( EXPORT clockpath NAMESPACE clockpath:: FILE clockpathTargets.cmake DESTINATION ${package} )
   configure_package_config_file(
      cmake/clockpathConfig.cmake.in ${PROJECT_BINARY_DIR}/clockpathConfig.cmake INSTALL_DESTINATION ${package}
      NO_SET_AND_CHECK_MACRO )
   write_basic_package_version_file(
      ${PROJECT_BINARY_DIR}/clockpathConfigVersion.cmake COMPATIBILITY SameMajorVersion )
   install(
      FILES ${PROJECT_BINARY_DIR}/clockpathConfig.cmake ${PROJECT_BINARY_DIR}/clockpathConfigVersion.cmake
      DESTINATION ${package} )

   file( RELATIVE_PATH prefixFromPc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix )
   foreach( name vor clockpath )
      configure_file( cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY )
      install( FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig )
   endforeach()

   if ( CLOCKPATH_TOOLS )
      file( RELATIVE_PATH libFromBin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR} )
      set_target_properties( clockpath PROPERTIES INSTALL_RPATH "$ORIGIN/${libFromBin}" )
      install( TARGETS clockpath RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} )
   endif()
   install( DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/clockpath )
   install( FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} )
   install( DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} )
endfunction()
