// Pictures for the projection tests: a Buffer destroyed with its scope, prefilled with a
// sentinel so that tests see what a function wrote, cleared or left alone.
#pragma once

#include <vector>

#include "vexilo3d.h"

namespace t3d {

class Picture {
public:
    Picture(int H, int W, int colortype = 1, unsigned char sentinel = 77)
        : buf_(CreateBuffer(colortype, W, H)), H_(H), W_(W) {
        fill(sentinel);
    }
    ~Picture() { DestroyBuffer(buf_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    Image2d image() { return buf_->image; }
    int channels() const { return buf_->colortype == 2 ? 3 : 1; }
    unsigned char& at(int r, int c, int ch = 0) { return buf_->image[ch][r][c]; }
    void fill(unsigned char v) {
        for (int ch = 0; ch < channels(); ++ch)
            for (int r = 0; r < H_; ++r)
                for (int c = 0; c < W_; ++c) buf_->image[ch][r][c] = v;
    }
    std::vector<unsigned char> pixels() const {
        std::vector<unsigned char> out;
        for (int ch = 0; ch < channels(); ++ch)
            for (int r = 0; r < H_; ++r) out.insert(out.end(), buf_->image[ch][r], buf_->image[ch][r] + W_);
        return out;
    }
    bool all(unsigned char v) const {
        for (unsigned char p : pixels())
            if (p != v) return false;
        return true;
    }

private:
    Buffer* buf_;
    int H_, W_;
};

}  // namespace t3d
