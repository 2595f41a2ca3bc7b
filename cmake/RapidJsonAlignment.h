#pragma once
// Read before every RapidJSON header (cmake/Dependencies.cmake). RapidJSON's pool allocator aligns
// to 4 bytes where pointers have 32 bits, yet its values hold doubles and 64-bit integers, which
// the 32-bit ARM ABI aligns to 8: the compiler may then use 8-byte-aligned accesses on misaligned
// values. 8 bytes on every target (as RapidJSON itself does on 64-bit ones).
#define RAPIDJSON_ALIGN(x) (((x) + static_cast<size_t>(7u)) & ~static_cast<size_t>(7u))
