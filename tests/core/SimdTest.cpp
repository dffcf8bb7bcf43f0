#define ZEB_SIMD_FORM Simd
#include "tests/core/SimdTest.inc"
