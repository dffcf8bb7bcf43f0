#pragma once

// Visibility. The library is built with hidden symbols; what client programs may use is marked ZEB_PUBLIC.

#define ZEB_PUBLIC __attribute__((visibility("default")))
