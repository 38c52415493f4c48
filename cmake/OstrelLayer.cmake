# One function per kind of target, so that every layer gets the same warnings and the same rules.

add_library(ostrelWarnings INTERFACE)
target_compile_options(ostrelWarnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wimplicit-fallthrough)
# GCC 12 takes "text" + std::string for an overlapping copy (GCC bug 105651).
target_compile_options(ostrelWarnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(OSTREL_WARNINGS_ARE_ERRORS)
  target_compile_options(ostrelWarnings INTERFACE -Werror)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  include_directories(BEFORE ${PROJECT_SOURCE_DIR}/cmake/clang)
endif()

add_library(ostrelHardening INTERFACE)
if(CMAKE_BUILD_TYPE MATCHES "Release|RelWithDebInfo|MinSizeRel")
  target_compile_options(ostrelHardening INTERFACE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS -fstack-protector-strong
    -fstack-clash-protection -fPIE)
  target_link_options(ostrelHardening INTERFACE -pie -Wl,-z,relro,-z,now)
endif()

# ostrel_layer(<name> SOURCES a.cpp ... [USES layer ...] [PRIVATE_USES target ...])
# A static library; USES are the layers below that its headers show, PRIVATE_USES what only its sources need.
function(ostrel_layer name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${arg_USES} PRIVATE ${arg_PRIVATE_USES} ostrelWarnings ostrelHardening)
endfunction()

# ostrel_test(<name> SOURCES ... USES layer ... [PRIVATE_USES target ...])
# A test program that links its layer and nothing above it: an upward call does not link.
function(ostrel_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${arg_USES} ${arg_PRIVATE_USES} GTest::gtest_main ostrelWarnings)
  # As deep as the programs: they find what belongs to them from where they lie.
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

# ostrel_program(<name> SOURCES ... USES layer ...)
function(ostrel_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${arg_USES} ostrelWarnings ostrelHardening)
  target_compile_definitions(${name} PRIVATE OSTREL_VERSION="${PROJECT_VERSION}")
  add_dependencies(${name} catalogues)
  install(TARGETS ${name})
endfunction()
