# Writes the bundle's Info.json from what really lies in it: cmake -D settings=FILE -P BundleInfo.cmake.
include("${settings}")

# The last line that a program prints.
function(ask variable)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE said OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE ".*\n" "" said "${said}")
  set(${variable} "${said}" PARENT_SCOPE)
endfunction()

# The program would silently carry nothing, were one of these not as it expects.
function(require_shape text shape what)
  if(NOT text MATCHES "${shape}")
    message(FATAL_ERROR "\"${text}\" is no ${what}")
  endif()
endfunction()

if(NOT node_version)
  ask(node_version "${node}" --version)
endif()
if(NOT helper_version)
  ask(helper_version "${node}" "${helper}" version)
endif()
require_shape("${node_version}" "^v[0-9]+(\\.[0-9]+)*$" "version of a runtime (-DKESTRELUNE_NODE_VERSION=)")
require_shape("${helper_version}" "^[0-9]+(\\.[0-9]+)*$" "version of a helper (-DKESTRELUNE_HELPER_VERSION=)")
require_shape("${build}" "^[1-9][0-9]*$" "number of a build (-DKESTRELUNE_BUILD=)")
file(SHA256 "${helper}" helper_digest)

file(CONFIGURE OUTPUT "${info}" @ONLY CONTENT [=[{
  "CFBundleExecutable": "KestreluneMenu",
  "CFBundleIdentifier": "com.kestrelune.menu",
  "CFBundleName": "Kestrelune",
  "CFBundleShortVersionString": "@version@",
  "CFBundleVersion": "@build@",
  "KestreluneHelperSHA256": "@helper_digest@",
  "KestreluneHelperVersion": "@helper_version@",
  "KestreluneNodeVersion": "@node_version@"
}
]=])
# Written only when it changed, but made anew as far as the build is concerned.
file(TOUCH "${info}")
