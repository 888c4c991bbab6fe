# Run by CPack on the trees of the packages before it packs them: what Debian wants beside the installed tree.
find_program( GZIP gzip REQUIRED )
string( TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC )   # that of SOURCE_DATE_EPOCH, where it is set

foreach( component ${CPACK_COMPONENTS_ALL} )
   set( usr ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr )
   string( TOUPPER ${component} upper )
   set( doc ${usr}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} )
   file( COPY ${CMAKE_CURRENT_LIST_DIR}/debian/copyright DESTINATION ${doc} )
   file(
      WRITE ${doc}/changelog
      "clockpath (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
      "  * CHANGELOG.md of the sources says what is new.\n\n"
      " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n" )
   file( GLOB pages ${usr}/share/man/man1/*.1 )
   execute_process( COMMAND ${GZIP} -9nf ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY )
   if ( component STREQUAL library )
      # CPack gives a package of libraries scripts that call ldconfig, beside the trigger that does.
      file(
         WRITE ${usr}/share/lintian/overrides/${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME}
         "# CPack writes these scripts; with the trigger they do no harm.\n"
         "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME}: maintscript-calls-ldconfig [postinst]\n"
         "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME}: maintscript-calls-ldconfig [postrm]\n" )
   endif()
   # Where pkg-config looks whatever it compiles for; its files name their folders from their own place.
   if ( EXISTS ${usr}/lib/pkgconfig )
      file( RENAME ${usr}/lib/pkgconfig ${usr}/share/pkgconfig )
   endif()
endforeach()
