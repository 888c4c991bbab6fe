# cmake -DHEADERS=... -DTO=... -P PublicHeaders.cmake: the headers as users have them.
#
# They include each other as <clockpath/FOLDER/NAME.h>. A header whose text stays is not written, so that nothing is
# compiled again for it, and one that is gone here goes there.
set( folders "" )
foreach( header ${HEADERS} )
   file( READ ${header} text )
   string( REGEX REPLACE "#include \"([^\"\n]+)\"" "#include <clockpath/\\1>" text "${text}" )
   set( before "" )
   if ( EXISTS ${TO}/${header} )
      file( READ ${TO}/${header} before )
   endif()
   if ( NOT text STREQUAL before )
      file( WRITE ${TO}/${header} "${text}" )
   endif()
   get_filename_component( folder ${header} DIRECTORY )
   list( APPEND folders ${folder} )
endforeach()

list( REMOVE_DUPLICATES folders )
foreach( folder ${folders} )
   file( GLOB there RELATIVE ${TO} ${TO}/${folder}/* )
   list( REMOVE_ITEM there ${HEADERS} )
   foreach( file ${there} )
      file( REMOVE ${TO}/${file} )
   endforeach()
endforeach()
