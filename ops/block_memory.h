// Work memory of blocks of frames that run side by side on different threads.
//
// One allocation holds every block's part, and every part begins on a cache line of its own:
// threads write their work memory all the time, and two blocks sharing a line (the end of one
// and the start of the next) pass it back and forth between the cores.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace v3d {

constexpr std::size_t kCacheLine = 64;

// n bytes rounded up to whole cache lines.
inline std::size_t whole_lines(std::size_t n) { return (n + kCacheLine - 1) / kCacheLine * kCacheLine; }

// Parts of `count` values of T (trivial), left uninitialised unless zeroed.
template <class T> class BlockMemory {
public:
    bool allocate(int blocks, std::size_t count, bool zeroed = false) {
        stride_ = whole_lines(count * sizeof(T));
        const std::size_t bytes = stride_ * static_cast<std::size_t>(blocks) + kCacheLine;
        memory_.reset(zeroed ? new (std::nothrow) unsigned char[bytes]() : new (std::nothrow) unsigned char[bytes]);
        if (!memory_) return false;
        const auto base = reinterpret_cast<std::uintptr_t>(memory_.get());
        first_ = memory_.get() + (kCacheLine - base % kCacheLine) % kCacheLine;
        return true;
    }
    T* get(int b) const { return reinterpret_cast<T*>(first_ + stride_ * static_cast<std::size_t>(b)); }

private:
    std::size_t stride_ = 0;
    unsigned char* first_ = nullptr;
    std::unique_ptr<unsigned char[]> memory_;
};

}  // namespace v3d
