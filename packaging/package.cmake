# Installing, and a package of it. Both refuse the stand-in helper, known by its content, so that what it invents never
# reaches an installed product.
file(SHA256 "${PROJECT_SOURCE_DIR}/demo/kestrelune-runner.mjs" stand_in)
file(SHA256 "${KESTRELUNE_HELPER}" helper)
set(carries_stand_in FALSE)
if(helper STREQUAL stand_in)
  set(carries_stand_in TRUE)
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${KESTRELUNE_HELPER}")

file(STRINGS share/changelog.in newest LIMIT_COUNT 20 REGEX "^ -- ")
list(GET newest 0 newest)
string(REGEX REPLACE "^.*>  " "" newest "${newest}")
execute_process(COMMAND date -u -d "${newest}" +%Y-%m-%d OUTPUT_VARIABLE release_date OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
set(package_version "${PROJECT_VERSION}.${KESTRELUNE_BUILD}")
configure_file(install.cmake.in install.cmake @ONLY)
install(SCRIPT "${CMAKE_CURRENT_BINARY_DIR}/install.cmake")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kestrelune-menu)
set(CPACK_PACKAGE_VERSION "${package_version}")
set(CPACK_PACKAGE_VENDOR Kestrelune)
set(CPACK_PACKAGE_CONTACT "Kestrelune <packages@${KESTRELUNE_SERVICE_HOST}>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://${KESTRELUNE_SERVICE_HOST}/")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "companion of the Kestrelune helper, in the panel")
set(CPACK_PACKAGE_DESCRIPTION "Kestrelune connects the AI applications that a user already has, so that a
task given in one is carried out by another on this computer. This is the
companion of the helper that does so: an icon in the panel that shows how it
goes, tells what needs the user, carries out what the user chooses, and places,
starts, supervises and updates the helper.
Each account gets a copy of its own at the first start, in Applications in its
home folder, so that it can be kept up to date.")
set(CPACK_OUTPUT_FILE_PREFIX "${CMAKE_BINARY_DIR}")
# The files know where they will lie.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# An update's script ends a build that hangs with pkill.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "procps")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus, qt6-wayland, xdg-utils")
# GNOME has no icons in its bar by itself.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-shell-extension-appindicator")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
