# What the application carries besides its programs: the helper, a runtime for each processor, and the file of facts
# about them. They are laid where the program looks for them, and made again when one of them changes.

set(KESTRELUNE_HELPER "${PROJECT_SOURCE_DIR}/demo/kestrelune-runner.mjs" CACHE FILEPATH
  "The helper to carry, one file; by default the stand-in")
set(KESTRELUNE_HELPER_VERSION "" CACHE STRING "Its version; empty: it is asked")
set(KESTRELUNE_NODE_X64 "" CACHE FILEPATH "The runtime to carry for x64; empty: this machine's own, if it is one")
set(KESTRELUNE_NODE_ARM64 "" CACHE FILEPATH "The runtime to carry for arm64; empty: this machine's own, if it is one")
set(KESTRELUNE_NODE_VERSION "" CACHE STRING "The runtimes' version, such as v20.1.0; empty: the one that runs here is asked")
set(KESTRELUNE_BUILD "1" CACHE STRING "The number of this build, greater with each release")

find_program(KESTRELUNE_NODE NAMES node nodejs DOC "This machine's node")
if(NOT KESTRELUNE_NODE)
  message(FATAL_ERROR "There is no node on this machine: install nodejs, or name it with -DKESTRELUNE_NODE=")
endif()
# The "node" of a version manager only starts the real one.
execute_process(COMMAND "${KESTRELUNE_NODE}" -p process.execPath OUTPUT_VARIABLE own_node
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(own_processor ARM64)
else()
  set(own_processor X64)
endif()

set(bundle_files)
foreach(processor x64 arm64)
  string(TOUPPER "${processor}" upper)
  set(node "${KESTRELUNE_NODE_${upper}}")
  if(upper STREQUAL own_processor)
    if(NOT node)
      set(node "${own_node}")
    endif()
    set(bundle_node "${node}")
  elseif(NOT node)
    # A script, since it is on the other processor that somebody may come to see it.
    set(node "${CMAKE_BINARY_DIR}/generated/missing-node-${processor}")
    file(CONFIGURE OUTPUT "${node}" @ONLY CONTENT [=[#!/bin/sh
echo "This build of Kestrelune carries no node runtime for @processor@ (-DKESTRELUNE_NODE_@upper@=)." >&2
exit 1
]=])
  endif()
  set(carried "${KESTRELUNE_CONTENTS}/Helpers/node-darwin-${processor}/node")
  add_custom_command(OUTPUT "${carried}" DEPENDS "${node}" VERBATIM
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${KESTRELUNE_CONTENTS}/Helpers/node-darwin-${processor}"
    COMMAND cp --reflink=auto --remove-destination -L -- "${node}" "${carried}"
    COMMAND chmod 0755 -- "${carried}")
  list(APPEND bundle_files "${carried}")
endforeach()

set(bundle_helper "${KESTRELUNE_CONTENTS}/Resources/helper/kestrelune-runner.mjs")
add_custom_command(OUTPUT "${bundle_helper}" DEPENDS "${KESTRELUNE_HELPER}" VERBATIM
  COMMAND "${CMAKE_COMMAND}" -E make_directory "${KESTRELUNE_CONTENTS}/Resources/helper"
  COMMAND "${CMAKE_COMMAND}" -E copy "${KESTRELUNE_HELPER}" "${bundle_helper}"
  COMMAND chmod 0644 -- "${bundle_helper}")

# The settings are a file of their own, so that a changed one counts as a changed input.
set(bundle_settings "${CMAKE_BINARY_DIR}/generated/BundleSettings.cmake")
file(CONFIGURE OUTPUT "${bundle_settings}" @ONLY CONTENT [==[set(info [=[@KESTRELUNE_CONTENTS@/Info.json]=])
set(helper [=[@bundle_helper@]=])
set(helper_version [=[@KESTRELUNE_HELPER_VERSION@]=])
set(node [=[@bundle_node@]=])
set(node_version [=[@KESTRELUNE_NODE_VERSION@]=])
set(version [=[@PROJECT_VERSION@]=])
set(build [=[@KESTRELUNE_BUILD@]=])
]==])
set(bundle_script "${PROJECT_SOURCE_DIR}/cmake/BundleInfo.cmake")
add_custom_command(OUTPUT "${KESTRELUNE_CONTENTS}/Info.json" VERBATIM
  DEPENDS "${bundle_settings}" "${bundle_script}" "${bundle_helper}" ${bundle_files}
  COMMAND "${CMAKE_COMMAND}" -D "settings=${bundle_settings}" -P "${bundle_script}")

add_custom_target(KestreluneBundle ALL DEPENDS "${KESTRELUNE_CONTENTS}/Info.json")
