#pragma once

#include <cstdint>

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

// Flushes subnormal floats to zero on this thread while it lives and puts the
// previous mode back when it goes. A filter ringing out on silence would
// otherwise slow to a crawl once its memory decays into subnormals, which on
// the render thread means a dropout. Costs two register accesses.
class ScopedNoDenormals {
public:
    ScopedNoDenormals() noexcept : m_saved(read()) { write(m_saved | kFlushBits); }
    ~ScopedNoDenormals() { write(m_saved); }
    ScopedNoDenormals(const ScopedNoDenormals&) = delete;
    ScopedNoDenormals& operator=(const ScopedNoDenormals&) = delete;

private:
#if defined(__x86_64__) || defined(_M_X64)
    using Word = unsigned int;
    // MXCSR: flush-to-zero (bit 15) for results, denormals-are-zero (bit 6)
    // for operands.
    static constexpr Word kFlushBits = 0x8040;
    static Word read() noexcept {
        return _mm_getcsr();
    }
    static void write(Word word) noexcept {
        _mm_setcsr(word);
    }
#elif defined(__aarch64__)
    using Word = std::uint64_t;
    // FPCR.FZ (bit 24) flushes both operands and results.
    static constexpr Word kFlushBits = Word{1} << 24;
    static Word read() noexcept {
        Word word;
        asm volatile("mrs %0, fpcr" : "=r"(word));
        return word;
    }
    static void write(Word word) noexcept {
        asm volatile("msr fpcr, %0" : : "r"(word));
    }
#else
    // Elsewhere the filters' own scrubbing of tiny memory has to suffice.
    using Word = unsigned int;
    static constexpr Word kFlushBits = 0;
    static Word read() noexcept {
        return 0;
    }
    static void write(Word) noexcept {}
#endif

    Word m_saved;
};
