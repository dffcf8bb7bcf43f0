#define ZEB_SIMD_PLAIN
#define ZEB_SIMD_FORM SimdPlain
#include "tests/core/SimdTest.inc"
