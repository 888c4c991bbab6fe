# Tests as one executable, those of one folder or of several; every case of it is a test of ctest, named
# NAME.SUITE.CASE. With a sanitizer the executable is one test, NAME.
#
#    clockpath_test( framework SOURCES TextTest.cpp ... LIBS vor )
#
# makes the executable framework_test, to which folders may add by target_sources. With SHARDS 2 it is two tests there,
# which run side by side. A source may have a main of its own; else GoogleMock's is taken. The presets compile the
# sources as one: a source whose helpers have the names of another's puts them into a namespace of its own.
find_package( GTest REQUIRED )
include( GoogleTest )

# The headers of GoogleTest, GoogleMock and the framework, compiled once for all.
file( CONFIGURE OUTPUT pch.cpp CONTENT "" )
add_library( clockpath_test_pch OBJECT ${CMAKE_CURRENT_BINARY_DIR}/pch.cpp )
clockpath_target( clockpath_test_pch )
# Test code runs once: optimising it costs far more than it gives back. What it tests is built as it is shipped.
set( CLOCKPATH_TEST_OPTIONS -O0 )
# Nor is each pointer of test code looked at before it is used: in what it tests they are, and a third of a test's own
# compilation goes into that.
if ( CLOCKPATH_SANITIZERS MATCHES undefined )
   list( APPEND CLOCKPATH_TEST_OPTIONS -fno-sanitize=null,alignment,vptr )
endif()
target_compile_options( clockpath_test_pch PRIVATE ${CLOCKPATH_TEST_OPTIONS} )
target_link_libraries( clockpath_test_pch PRIVATE GTest::gmock )
target_precompile_headers(
   clockpath_test_pch PRIVATE <gmock/gmock.h> <gtest/gtest.h> ${CLOCKPATH_PRECOMPILED_HEADERS} )

function( clockpath_test name )
   cmake_parse_arguments( PARSE_ARGV 1 arg "" "SHARDS" "SOURCES;LIBS" )
   set( target ${name}_test )
   add_executable( ${target} ${arg_SOURCES} )
   clockpath_target( ${target} )
   target_compile_options( ${target} PRIVATE ${CLOCKPATH_TEST_OPTIONS} )
   target_link_libraries( ${target} PRIVATE ${arg_LIBS} GTest::gmock_main GTest::gmock GTest::gtest )
   target_include_directories( ${target} PRIVATE ${PROJECT_SOURCE_DIR} )
   target_precompile_headers( ${target} REUSE_FROM clockpath_test_pch )
   # To start a process with a sanitizer takes longer than most tests.
   if ( CLOCKPATH_SANITIZERS )
      if ( NOT arg_SHARDS )
         add_test( NAME ${name} COMMAND ${target} )
         set_tests_properties( ${name} PROPERTIES TIMEOUT 300 LABELS ${name} )
         return()
      endif()
      foreach( shard RANGE 1 ${arg_SHARDS} )
         math( EXPR index "${shard} - 1" )
         add_test( NAME ${name}.${shard} COMMAND ${target} )
         set_tests_properties(
            ${name}.${shard}
            PROPERTIES TIMEOUT 300 LABELS ${name} ENVIRONMENT
                       "GTEST_TOTAL_SHARDS=${arg_SHARDS};GTEST_SHARD_INDEX=${index}" )
      endforeach()
      return()
   endif()
   gtest_discover_tests(
      ${target}
      TEST_PREFIX "${name}."
      DISCOVERY_MODE PRE_TEST
      DISCOVERY_TIMEOUT 60
      PROPERTIES TIMEOUT 300 LABELS ${name} )
endfunction()

# What must not compile: the file compiles as it stands, and with FORBIDDEN defined fails with an error that says why.
#
#    clockpath_forbidden( forbidden/MisspeltAttribute.cpp "no attribute of that name is listed" )
#
# Sanitizers change nothing of that: a build without them tests it.
function( clockpath_forbidden file why )
   if ( CLOCKPATH_SANITIZERS )
      return()
   endif()
   get_filename_component( name ${file} NAME_WE )
   set( compile ${CMAKE_CXX_COMPILER} -std=c++20 -I${PROJECT_SOURCE_DIR} -fsyntax-only ${CMAKE_CURRENT_SOURCE_DIR}/${file} )
   add_test( NAME forbidden.${name}.control COMMAND ${compile} )
   add_test( NAME forbidden.${name} COMMAND ${compile} -DFORBIDDEN )
   set_tests_properties( forbidden.${name} PROPERTIES PASS_REGULAR_EXPRESSION "${why}" )
endfunction()
