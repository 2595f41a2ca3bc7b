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
  find_package(httplib CONFIG QUIET)
  if(NOT TARGET httplib::httplib)
    # Debian ships cpp-httplib as a compiled library with only a pkg-config file; its flags select
    # the library's build options and must be used as given.
    find_package(Threads REQUIRED)
    pkg_check_modules(CPPHTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
    add_library(httplib::httplib INTERFACE IMPORTED GLOBAL)
    target_link_libraries(httplib::httplib INTERFACE PkgConfig::CPPHTTPLIB Threads::Threads)
  endif()
endif()
if(KYR_BUILD_TESTS)
  find_package(GTest CONFIG REQUIRED)
endif()
if(KYR_BUILD_BENCHMARKS)
  find_package(benchmark CONFIG REQUIRED)
endif()
