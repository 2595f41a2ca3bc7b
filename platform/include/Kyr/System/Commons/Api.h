#pragma once
// Platform types cross shared-library boundaries (host, services, module). They keep default
// visibility even when a library is built with hidden visibility, so that exceptions, RTTI and
// vtables are the same object in every library of the process.
#define KYR_API __attribute__((visibility("default")))
