# RapidJSON 1.1.0 (the newest in Debian) tests for room on its internal stack with
# `stackTop_ + sizeof(T) * count > stackEnd_`. Before the first push the stack has no memory, so this
# adds an offset to a null pointer: undefined behaviour, which Clang's UBSan reports on every parse
# ("applying non-zero offset 4 to null pointer"). Later RapidJSON releases compare the free room
# instead (`stackEnd_ - stackTop_`, which is 0 for two null pointers). Until Debian ships such a
# release, the build uses a copy of the installed headers with exactly these two comparisons
# rewritten that way. Headers without the old comparison are used as installed.
find_path(KYR_RAPIDJSON_INCLUDE_DIR rapidjson/internal/stack.h HINTS ${RAPIDJSON_INCLUDEDIR} REQUIRED)
set(kyrStackHeader ${KYR_RAPIDJSON_INCLUDE_DIR}/rapidjson/internal/stack.h)
file(READ ${kyrStackHeader} kyrStackText)
set(kyrOldRoomTest "stackTop_ + sizeof(T) * count > stackEnd_")
set(kyrOldRoomAssert "RAPIDJSON_ASSERT(stackTop_ + sizeof(T) * count <= stackEnd_);")
string(FIND "${kyrStackText}" "${kyrOldRoomTest}" kyrOldRoomTestAt)
if(kyrOldRoomTestAt GREATER_EQUAL 0)
  # Written only when changed, so that configuring again does not rebuild everything using RapidJSON.
  set(kyrPatchedDir ${CMAKE_BINARY_DIR}/patched-rapidjson)
  file(COPY ${KYR_RAPIDJSON_INCLUDE_DIR}/rapidjson DESTINATION ${kyrPatchedDir} PATTERN stack.h EXCLUDE)
  string(REPLACE "${kyrOldRoomTest}" "sizeof(T) * count > static_cast<size_t>(stackEnd_ - stackTop_)"
         kyrStackText "${kyrStackText}")
  string(REPLACE "${kyrOldRoomAssert}"
         "RAPIDJSON_ASSERT(sizeof(T) * count <= static_cast<size_t>(stackEnd_ - stackTop_));"
         kyrStackText "${kyrStackText}")
  file(WRITE ${CMAKE_BINARY_DIR}/patched-rapidjson-stack.h "${kyrStackText}")
  file(COPY_FILE ${CMAKE_BINARY_DIR}/patched-rapidjson-stack.h ${kyrPatchedDir}/rapidjson/internal/stack.h ONLY_IF_DIFFERENT)
  # Searched before the system folder, which holds the unchanged headers.
  set_property(TARGET PkgConfig::RAPIDJSON APPEND PROPERTY INTERFACE_INCLUDE_DIRECTORIES ${kyrPatchedDir})
  message(STATUS "RapidJSON: internal stack room test rewritten (${kyrPatchedDir})")
endif()
