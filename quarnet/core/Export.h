#pragma once

/// Marks what the library exports; everything else stays inside.
#define QUARNET_EXPORT __attribute__((visibility("default")))
