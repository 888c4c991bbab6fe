# A library that others use, installed or as part of their own build.
#
#    clockpath_library( TARGET NAME HEADERS... )   is clockpath::NAME there; HEADERS are headers, and folders of them
#    clockpath_exports( TARGET )                   offers, where it is shared, the names that cmake/TARGET.map lists
#
# Users find the headers as <clockpath/FOLDER/NAME.h>, and include/ of the build tree holds them as they are installed.
# docs/decisions/0008-one-prefix-for-headers.md says why.
function( clockpath_library target name )
   clockpath_target( ${target} )
   add_library( clockpath::${name} ALIAS ${target} )
   target_compile_features( ${target} PUBLIC cxx_std_20 )
   # A unique symbol would pin the library in the process: dlclose must really unload it.
   target_compile_options( ${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique> )
   set_target_properties(
      ${target}
      PROPERTIES
         EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN"
         POSITION_INDEPENDENT_CODE ON )

   set( headers "" )
   foreach( item ${ARGN} )
      if ( IS_DIRECTORY ${PROJECT_SOURCE_DIR}/${item} )
         file( GLOB item CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/${item}/*.h )
      endif()
      list( APPEND headers ${item} )
   endforeach()
   set( script ${PROJECT_SOURCE_DIR}/cmake/PublicHeaders.cmake )
   set( done ${PROJECT_BINARY_DIR}/${target}_headers.done )
   add_custom_command(
      OUTPUT ${done}
      COMMAND
         ${CMAKE_COMMAND} "-DHEADERS=${headers}" -DTO=${PROJECT_BINARY_DIR}/include/clockpath -P ${script}
      COMMAND ${CMAKE_COMMAND} -E touch ${done}
      DEPENDS ${headers} ${script}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
      COMMENT "Public headers of ${name}"
      VERBATIM )
   add_custom_target( ${target}_headers DEPENDS ${done} )
   add_dependencies( ${target} ${target}_headers )
   target_include_directories(
      ${target}
      INTERFACE $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> )
endfunction()

function( clockpath_exports target )
   if ( NOT BUILD_SHARED_LIBS )
      return()
   endif()
   set( list ${PROJECT_SOURCE_DIR}/cmake/${target}.map )
   target_link_options( ${target} PRIVATE LINKER:--version-script=${list} )
   set_target_properties( ${target} PROPERTIES LINK_DEPENDS ${list} )
   if ( NOT CLOCKPATH_SANITIZERS )
      target_link_options( ${target} PRIVATE LINKER:--no-undefined )
   endif()
endfunction()
