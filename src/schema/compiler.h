// What is said to the compiler beyond the language, where one understands it.
#pragma once

// For a function off the hot path: kept out of its callers, which then need to save no registers
// for it.
#if defined(__GNUC__)
#define TAVO_COLD [[gnu::noinline, gnu::cold]]
#elif defined(_MSC_VER)
#define TAVO_COLD __declspec(noinline)
#else
#define TAVO_COLD
#endif

// The vector instructions that every x86-64 processor has.
#if defined(__SSE2__) || defined(_M_X64)
#define TAVO_SSE2
#endif
