#pragma once

/// Marks what libRavikSrvExt exports. Interfaces are exported too: their key functions live in the library, so that
/// their type information is single and `dynamic_cast` works across shared objects.
#define RAVIK_SRV_EXT_API __attribute__((visibility("default")))
