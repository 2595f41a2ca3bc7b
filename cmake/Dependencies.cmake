# Every dependency comes from the system (Debian packages), found by its CMake config or pkg-config.
find_package(PkgConfig REQUIRED)
find_package(fmt CONFIG REQUIRED)
# Boost 1.81: Beast and Asio for the host; Boost.Regex header-only (no ICU, no compiled library).
find_package(Boost 1.81 EXACT REQUIRED)
# Expat reads the settings files.
find_package(EXPAT REQUIRED)
pkg_check_modules(RAPIDJSON REQUIRED IMPORTED_TARGET RapidJSON)
set_property(TARGET PkgConfig::RAPIDJSON APPEND PROPERTY INTERFACE_COMPILE_OPTIONS
  "SHELL:-include ${CMAKE_CURRENT_LIST_DIR}/RapidJsonAlignment.h")
if(KYR_BUILD_HOST)
  pkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET sqlite3)
  pkg_check_modules(SODIUM REQUIRED IMPORTED_TARGET libsodium)
  # OpenSSL: HTTPS, and the audit trail's syslog forwarding over TLS.
  find_package(OpenSSL 3 REQUIRED)
  find_package(Threads REQUIRED)
  # Directory login: OpenLDAP's client library.
  pkg_check_modules(LDAP REQUIRED IMPORTED_TARGET ldap lber)
  # The second factor: one-time codes (liboath) and their QR codes for authenticator apps (libqrencode).
  pkg_check_modules(OATH REQUIRED IMPORTED_TARGET liboath)
  pkg_check_modules(QRENCODE REQUIRED IMPORTED_TARGET libqrencode)
endif()
if(KYR_BUILD_TESTS)
  find_package(GTest CONFIG REQUIRED)
endif()
if(KYR_BUILD_BENCHMARKS)
  find_package(benchmark CONFIG REQUIRED)
endif()
