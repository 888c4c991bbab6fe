# How every target of the project is compiled.
#
#    clockpath_target( NAME )    language, warnings (errors, when the project is built for itself), sanitizers
#    clockpath_library( NAME )   the same for an installed shared library, and where its headers are found

set( CMAKE_CXX_EXTENSIONS OFF )
set( CMAKE_EXPORT_COMPILE_COMMANDS ON )

# ccache keeps objects built with a precompiled header only when told that the header's macros and time are no matter.
find_program( CLOCKPATH_CCACHE ccache )
if ( CLOCKPATH_CCACHE AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
   set( CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CLOCKPATH_CCACHE} )
endif()

add_library( clockpath_compiler INTERFACE )
target_compile_features( clockpath_compiler INTERFACE cxx_std_20 )
target_compile_options(
   clockpath_compiler
   INTERFACE
      -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align
      -Wcast-qual -Wextra-semi -Wformat=2 -Wundef -Wredundant-decls -Wvla
      $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override>
      $<$<CXX_COMPILER_ID:Clang>:-Wshadow -Wunreachable-code -Winconsistent-missing-override -Wimplicit-fallthrough>
      # g++ 12 sees overflows in its own std::string where it inlines; there are none.
      $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-stringop-overflow -Wno-restrict
      -Wno-array-bounds>
      $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>
      # What precompiled headers and ccache need to work together.
      $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
      "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>" )
if ( CLOCKPATH_SANITIZERS )
   target_compile_options(
      clockpath_compiler INTERFACE -fsanitize=${CLOCKPATH_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer )
   target_link_options( clockpath_compiler INTERFACE -fsanitize=${CLOCKPATH_SANITIZERS} )
endif()

# What nearly every source of the house reads. It takes half of the time of a build that does not optimise, but hides an
# include that is missing: a build for use reads what each source says.
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

function( clockpath_library target )
   clockpath_target( ${target} )
   target_compile_features( ${target} PUBLIC cxx_std_20 )
   # A unique symbol would pin the library in the process: dlclose must really unload it.
   target_compile_options( ${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique> )
   if ( NOT CLOCKPATH_SANITIZERS )
      target_link_options( ${target} PRIVATE LINKER:--no-undefined )
   endif()
   # Users write <clockpath/sm/Max24305Sm.h>; the headers themselves write "sm/Max24305Sm.h".
   target_include_directories(
      ${target}
      PUBLIC
         $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/clockpath> )
   set_target_properties(
      ${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN" )
endfunction()
