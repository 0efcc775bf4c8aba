"""An environment that means ill: each variable would bring code, certificates, zones, modules or settings from elsewhere."""


def hostile(folder):
    """All of them, aimed at a folder. What obeys one breaks, or leaves a file there whose name begins with "obeyed"."""
    folder.mkdir()
    (folder / "evil.js").write_text(f"require('fs').writeFileSync('{folder}/obeyed-runtime', '')")
    (folder / "evil.sh").write_text(f": > '{folder}/obeyed-shell'\n")
    (folder / "nonsense").write_text("[[[ = nonsense\n")
    nowhere = dict.fromkeys((
        "LD_LIBRARY_PATH", "GCONV_PATH", "LOCPATH", "NLSPATH", "TZDIR", "NODE_PATH", "OPENSSL_MODULES", "OPENSSL_ENGINES",
        "SSL_CERT_DIR", "CURL_HOME", "ICU_DATA", "QT_PLUGIN_PATH", "QT_QPA_PLATFORM_PLUGIN_PATH", "QT_QPA_FONTDIR",
        "QT_XKB_CONFIG_ROOT", "GTK_PATH", "GIO_EXTRA_MODULES", "GIO_MODULE_DIR", "GSETTINGS_SCHEMA_DIR", "FONTCONFIG_PATH",
        "XLOCALEDIR", "XKB_CONFIG_ROOT", "LIBGL_DRIVERS_PATH", "GBM_BACKENDS_PATH", "PERL5LIB", "PYTHONPATH"), str(folder))
    nonsense = dict.fromkeys((
        "LD_AUDIT", "OPENSSL_CONF", "SSL_CERT_FILE", "CURL_CA_BUNDLE", "NODE_EXTRA_CA_CERTS", "HOSTALIASES", "FONTCONFIG_FILE",
        "GTK_MODULES", "GDK_PIXBUF_MODULE_FILE", "QT_LOGGING_CONF", "VK_ICD_FILENAMES"), str(folder / "nonsense"))
    return {**nowhere, **nonsense, "GLIBC_TUNABLES": "glibc.malloc.check=3", "TZ": f":{folder}/nonsense",
            "NODE_OPTIONS": f"--require={folder}/evil.js", "NODE_TLS_REJECT_UNAUTHORIZED": "0", "BASH_ENV": str(folder / "evil.sh"),
            "ENV": str(folder / "evil.sh"), "BASH_FUNC_sleep%%": f"() {{ . '{folder}/evil.sh'; }}", "RES_OPTIONS": "attempts:0",
            "QT_QPA_GENERIC_PLUGINS": "nonsense", "SSLKEYLOGFILE": str(folder / "obeyed-keys"), "MALLOC_TRACE": str(folder / "obeyed-trace")}
