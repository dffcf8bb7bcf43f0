#define ZEB_SIMD_PLAIN
#define ZEB_SIMD_FORM SimdPlain
#include "tests/core/SimdTest.inc"

using Simd::Plain::Below, Simd::Plain::First, Simd::Plain::Gather; // not shared with the other form
