# Small binaries for the controller, on every build so that the tests see what ships:
#  - each function and datum in its own section, so that the linker drops what nothing calls;
#  - a library is recorded as needed only when a symbol is taken from it;
#  - symbols are hidden unless a header marks them for use from another library (KYR_API, or the
#    module's one entry), which keeps the dynamic symbol tables small and calls inside a library direct.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
add_compile_options(-ffunction-sections -fdata-sections)
add_link_options(LINKER:--gc-sections LINKER:--as-needed)

# Link-time optimisation on optimised builds without sanitizers: it removes code across object files
# that the section garbage collection cannot see as unused.
option(KYR_LTO "Link-time optimisation in optimised builds" ON)
if(KYR_LTO AND NOT KYR_SANITIZE AND NOT KYR_FUZZ AND NOT KYR_TSAN AND CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
  include(CheckIPOSupported)
  check_ipo_supported(RESULT kyrLtoSupported OUTPUT kyrLtoMessage LANGUAGES CXX)
  if(kyrLtoSupported)
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
  else()
    message(STATUS "Link-time optimisation not available: ${kyrLtoMessage}")
  endif()
endif()
