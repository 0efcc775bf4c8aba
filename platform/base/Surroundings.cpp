#include "base/Surroundings.hpp"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <string>

#include "base/System.hpp"

namespace kestrelune::surroundings {
namespace {

constexpr std::array<Group, 8> kRefused = {{
    {"code and data of the linker and the C library",
     "LD_* GLIBC_TUNABLES GCONV_PATH LOCPATH NLSPATH MALLOC_TRACE GETCONF_DIR TZDIR"},
    {"how names are looked up", "HOSTALIASES LOCALDOMAIN RES_OPTIONS RESOLV_HOST_CONF"},
    {"what shells and scripts of the system run",
     "BASH_ENV BASH_FUNC_* BASHOPTS SHELLOPTS ENV PS4 IFS CDPATH GLOBIGNORE PERL5* PERLLIB PYTHON* RUBYOPT RUBYLIB"},
    {"code, settings and certificates of the helper's runtime", "NODE_*"},
    {"certificates, keys and modules of the network and of what is encrypted",
     "OPENSSL_* SSL_CERT_* SSLKEYLOGFILE CTLOG_FILE CURL_* NETRC QLOGDIR GNUTLS_* P11_*"},
    {"tables of texts", "ICU_*"},
    {"plugins and settings of the toolkit and of themes",
     "QT_PLUGIN_PATH QT_QPA_PLATFORM_PLUGIN_PATH QT_QPA_GENERIC_PLUGINS QT_QPA_FONTDIR QT_XKB_CONFIG_ROOT "
     "QT_LOGGING_CONF QML_IMPORT_PATH QML2_IMPORT_PATH GTK_PATH GTK_MODULES GTK3_MODULES GTK_EXE_PREFIX "
     "GTK_DATA_PREFIX GTK_IM_MODULE_FILE GDK_PIXBUF_MODULE* GIO_MODULE_DIR GIO_EXTRA_MODULES GSETTINGS_SCHEMA_DIR"},
    {"fonts, keyboards, drivers of graphics",
     "FONTCONFIG_* XLOCALEDIR XKB_CONFIG_ROOT LIBGL_DRIVERS_* GBM_BACKENDS_PATH __EGL_* VK_* LIBVA_DRIVERS_PATH"},
}};

constexpr std::array kProxies = {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy",
                                 "ALL_PROXY",  "no_proxy",    "NO_PROXY"};

bool isMeant(std::string_view pattern, std::string_view name) {
  return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1)) : name == pattern;
}

bool isAnyOf(std::string_view patterns, std::string_view name) {
  while (!patterns.empty()) {
    const std::string_view pattern = patterns.substr(0, patterns.find(' '));
    if (isMeant(pattern, name)) return true;
    patterns.remove_prefix(std::min(patterns.size(), pattern.size() + 1));
  }
  return false;
}

}  // namespace

std::span<const Group> refused() { return kRefused; }

bool isAdmitted(std::string_view name, std::string_view value) {
  // Bare names are looked for in the system's own folders once LD_LIBRARY_PATH has gone.
  if (name == "LD_PRELOAD") return value.find_first_of("/$") == std::string_view::npos;
  // A zone by its name, not a file of rules.
  if (name == "TZ") return !value.starts_with(':') && !value.starts_with('/') && value.find("..") == value.npos;
  return std::none_of(kRefused.begin(), kRefused.end(), [&](const Group& group) { return isAnyOf(group.names, name); });
}

void clear() {
  for (const auto& [name, value] : system::environment())
    if (!isAdmitted(name, value)) ::unsetenv(name.c_str());
}

Environment proxies(const Environment& environment) {
  Environment found;
  for (const char* name : kProxies)
    if (const auto variable = environment.find(name); variable != environment.end()) found.insert(*variable);
  return found;
}

}  // namespace kestrelune::surroundings
