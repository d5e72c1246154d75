find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
find_package(SQLite3 3.40 REQUIRED)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-i18n icu-uc)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
pkg_check_modules(URIPARSER REQUIRED IMPORTED_TARGET liburiparser)
# Only to be linked: the flags it asks for concern its parser's threads.
pkg_check_modules(SIMDJSON REQUIRED simdjson)
