# How every target of the project is compiled.
#
#    clockpath_target( NAME )    language, warnings (errors, when the project is built for itself), sanitizers

set( CMAKE_CXX_EXTENSIONS OFF )
set( CMAKE_EXPORT_COMPILE_COMMANDS ON )
# Whoever calls an inline function has it: no library need offer it.
set( CMAKE_VISIBILITY_INLINES_HIDDEN ON )

# ccache keeps objects built with a precompiled header only when told that the header's macros and time are no matter.
find_program( CLOCKPATH_CCACHE ccache )
if ( CLOCKPATH_CCACHE AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
   set( CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CLOCKPATH_CCACHE} )
endif()

add_library( clockpath_compiler INTERFACE )
target_compile_features( clockpath_compiler INTERFACE cxx_std_20 )
target_include_directories( clockpath_compiler INTERFACE ${PROJECT_SOURCE_DIR} )
target_compile_options(
   clockpath_compiler
   INTERFACE
      -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align
      -Wcast-qual -Wextra-semi -Wformat=2 -Wundef -Wredundant-decls -Wvla
      $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override>
      $<$<CXX_COMPILER_ID:Clang>:-Wshadow -Wunreachable-code -Winconsistent-missing-override -Wimplicit-fallthrough
      -Wreserved-identifier>
      # g++ 12 sees overflows in its own std::string where it inlines; there are none.
      $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-stringop-overflow -Wno-restrict
      -Wno-array-bounds>
      # A source that is compiled as one with others is no header, but g++ takes it for one.
      $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>
      $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>
      # What precompiled headers and ccache need to work together.
      $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
      "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>" )
if ( CLOCKPATH_SANITIZERS )
   target_compile_options(
      clockpath_compiler INTERFACE -fsanitize=${CLOCKPATH_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer )
   target_link_options( clockpath_compiler INTERFACE -fsanitize=${CLOCKPATH_SANITIZERS} )
endif()

# What nearly every source of the house reads. It takes half of the time of a build that does not optimise.
option( CLOCKPATH_PRECOMPILED "Read the framework's headers once for each library" OFF )
set( CLOCKPATH_PRECOMPILED_HEADERS Describe.h Directory.h Entity.h Enumeration.h Reactor.h Trace.h TypeRegistry.h )
list( TRANSFORM CLOCKPATH_PRECOMPILED_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/framework/ )

function( clockpath_target target )
   target_link_libraries( ${target} PRIVATE $<BUILD_INTERFACE:clockpath_compiler> )
   get_target_property( type ${target} TYPE )
   if ( CLOCKPATH_PRECOMPILED AND type MATCHES "STATIC|SHARED" )
      target_precompile_headers( ${target} PRIVATE ${CLOCKPATH_PRECOMPILED_HEADERS} )
   endif()
endfunction()
