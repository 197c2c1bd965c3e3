// Vectors for the row kernels of the streaming and rank operators.
//
// With GCC the kernels work on 64-byte vectors of the compiler's vector extension (64 bytes,
// 32 shorts or 16 ints at once); V3D_ROW_CLONES builds a kernel for AVX-512, for AVX2 and for
// the baseline, and the loader picks the one the processor runs best. The kernels do integer
// work, or the same floating-point operations in the same order on every build (never fused
// into multiply-adds, which only some builds have), so all builds give the same bytes. No
// kernel looks at floating-point exception flags, so their float-to-integer conversions may
// be vectorised. Other compilers (Clang and MSVC included) take the plain formulations beside
// the kernels.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)
#define V3D_ROW_CLONES \
    __attribute__((target_clones("arch=x86-64-v4", "avx2", "default"),   \
                   optimize("fp-contract=off", "no-trapping-math")))
#else
#define V3D_ROW_CLONES
#endif

#if defined(__GNUC__) && !defined(__clang__)
#define V3D_VECTORS 1
#define V3D_ALWAYS_INLINE inline __attribute__((always_inline))
// The vectors pass only between inline helpers of one build, never across an interface, so
// the note that their passing differs between builds does not apply (GCC reports it at the
// end of the file, hence for the whole file).
#pragma GCC diagnostic ignored "-Wpsabi"

namespace v3d::simd {

typedef uint8_t u8x64 __attribute__((vector_size(64)));
typedef uint16_t u16x32 __attribute__((vector_size(64)));
typedef uint16_t u16x16 __attribute__((vector_size(32)));
typedef int32_t i32x16 __attribute__((vector_size(64)));
typedef float f32x16 __attribute__((vector_size(64)));
// The same, for loads and stores at any address.
typedef u8x64 u8x64_any __attribute__((aligned(1), may_alias));
typedef u16x32 u16x32_any __attribute__((aligned(1), may_alias));
typedef u16x16 u16x16_any __attribute__((aligned(1), may_alias));

V3D_ALWAYS_INLINE u8x64 load64(const uint8_t* p) { return *reinterpret_cast<const u8x64_any*>(p); }
V3D_ALWAYS_INLINE void store64(uint8_t* p, u8x64 v) { *reinterpret_cast<u8x64_any*>(p) = v; }
V3D_ALWAYS_INLINE u16x32 load32(const uint16_t* p) { return *reinterpret_cast<const u16x32_any*>(p); }
V3D_ALWAYS_INLINE void store32(uint16_t* p, u16x32 v) { *reinterpret_cast<u16x32_any*>(p) = v; }
V3D_ALWAYS_INLINE u16x16 load16(const uint16_t* p) { return *reinterpret_cast<const u16x16_any*>(p); }
V3D_ALWAYS_INLINE void store16(uint16_t* p, u16x16 v) { *reinterpret_cast<u16x16_any*>(p) = v; }

template <class V> V3D_ALWAYS_INLINE V vmin(V a, V b) { return a < b ? a : b; }
template <class V> V3D_ALWAYS_INLINE V vmax(V a, V b) { return a < b ? b : a; }

}  // namespace v3d::simd

#endif
