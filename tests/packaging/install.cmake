# cmake -DBUILD=... -DTREE=... -P install.cmake: installs the build, then moves it, because a tree works anywhere.
file( REMOVE_RECURSE ${TREE} ${TREE}.moved )
execute_process( COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${TREE}.moved COMMAND_ERROR_IS_FATAL ANY )
file( RENAME ${TREE}.moved ${TREE} )
