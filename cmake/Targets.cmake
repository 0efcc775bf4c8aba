# What all targets of the project share: warnings as errors, sanitizers, and how a folder becomes a target.

add_library(kestrelune_options INTERFACE)
target_compile_options(kestrelune_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-qual -Wold-style-cast -Wextra-semi -fvisibility=hidden)
target_compile_options(kestrelune_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-missing-designated-field-initializers -Wno-unknown-warning-option>)
# g++ 12 sees overlapping copies in "text" + std::string where there are none.
target_compile_options(kestrelune_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_compile_options(kestrelune_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-missing-field-initializers>)
target_compile_options(kestrelune_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-missing-field-initializers>)
target_include_directories(kestrelune_options INTERFACE "${PROJECT_SOURCE_DIR}/platform")

if(KESTRELUNE_SANITIZE)
  target_compile_options(kestrelune_options INTERFACE
    -fsanitize=${KESTRELUNE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g1)
  target_link_options(kestrelune_options INTERFACE -fsanitize=${KESTRELUNE_SANITIZE})
else()
  target_compile_options(kestrelune_options INTERFACE $<$<CONFIG:Release>:-ffunction-sections> $<$<CONFIG:Release>:-fdata-sections>)
  target_link_options(kestrelune_options INTERFACE -Wl,--as-needed $<$<CONFIG:Release>:-Wl,--gc-sections> $<$<CONFIG:Release>:-Wl,-s>
    $<$<CONFIG:Release>:-Wl,-O1>)
endif()

# Folders are flat, one unit a concern, and every unit in a folder belongs to its one target; so a folder's listing is
# the target's definition.
function(kestrelune_sources variable folder)
  file(GLOB units CONFIGURE_DEPENDS "${folder}/*.cpp" "${folder}/*.hpp")
  set(${variable} ${units} PARENT_SCOPE)
endfunction()

# A test program of GoogleTest from the files of a folder.
function(kestrelune_test name)
  find_package(GTest REQUIRED)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE kestrelune_options GTest::gtest GTest::gtest_main)
  set_target_properties(${name} PROPERTIES BUILD_RPATH "${KESTRELUNE_CONTENTS}/Frameworks")
  add_test(NAME ${name} COMMAND ${name})
endfunction()
