// Readers and writers of a 256^3 UC volume: the raw single-file volume against a plain read
// and write of the same bytes (one fread or fwrite of the whole file), and the 256-page TIFF
// stack (uncompressed, 8-bit grey) against libtiff used directly (TIFFReadScanline and
// TIFFWriteScanline straight into and out of the volume's rows, the least any libtiff reader
// does). Files live in the system's temporary folder, so the page cache serves the reads.
// tifffile and libtiff's tiffcp run beside the library in bench/python_peers_transforms_io.py.
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/volumes.h"

namespace {

constexpr int kN = 256;

std::string temp_file(const char* name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

Volume* source() {
    static bench::Volume3 vol(kN, kN, kN, 1);
    static const bool filled = (bench::fill_structure_noise(vol.get(), 5), true);
    (void)filled;
    return vol.get();
}

void BM_WriteVolume(benchmark::State& state) {
    const std::string file = temp_file("v3d_bench_io.raw");
    for (auto _ : state)
        if (WriteVolume(source(), file.c_str(), 0, kN) != 0) state.SkipWithError("WriteVolume failed");
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}
void BM_ReadVolume(benchmark::State& state) {
    const std::string file = temp_file("v3d_bench_io.raw");
    WriteVolume(source(), file.c_str(), 0, kN);
    bench::Volume3 vol(kN, kN, kN, 1);
    for (auto _ : state)
        if (ReadVolume(vol.get(), file.c_str(), 0, kN, kN, kN) != 0) state.SkipWithError("ReadVolume failed");
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}
// The same bytes in one buffer, one call each way.
void BM_plain_fwrite(benchmark::State& state) {
    const std::string file = temp_file("v3d_bench_io_plain.raw");
    std::vector<unsigned char> bytes(static_cast<size_t>(kN) * kN * kN, 7);
    for (auto _ : state) {
        std::FILE* f = std::fopen(file.c_str(), "wb");
        if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) state.SkipWithError("fwrite failed");
        if (f) std::fclose(f);
    }
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}
void BM_plain_fread(benchmark::State& state) {
    const std::string file = temp_file("v3d_bench_io.raw");
    WriteVolume(source(), file.c_str(), 0, kN);
    std::vector<unsigned char> bytes(static_cast<size_t>(kN) * kN * kN);
    for (auto _ : state) {
        std::FILE* f = std::fopen(file.c_str(), "rb");
        if (!f || std::fread(bytes.data(), 1, bytes.size(), f) != bytes.size()) state.SkipWithError("fread failed");
        if (f) std::fclose(f);
    }
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}

const std::string kStackBase = temp_file("v3d_bench_stack");

void BM_SaveTiffStack(benchmark::State& state) {
    for (auto _ : state)
        if (SaveTiffStack(source(), kStackBase.c_str(), "tif", V3D_TIFF_NONE) != 0) state.SkipWithError("SaveTiffStack failed");
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}
void BM_read_tiff_stack(benchmark::State& state) {
    SaveTiffStack(source(), kStackBase.c_str(), "tif", V3D_TIFF_NONE);
    const ImageSequenceFormat* stack = GetImageSequenceFormat(V3D_FORMAT_TIFF_STACK);
    bench::Volume3 vol(kN, kN, kN, 1);
    for (auto _ : state)
        if (stack->read(vol.get(), kStackBase.c_str(), 0, 0, "tif", kN) != 0) state.SkipWithError("reading failed");
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}

// libtiff by itself: every page, every scanline, into or out of the volume's rows.
void BM_libtiff_write(benchmark::State& state) {
    const std::string file = temp_file("v3d_bench_stack_libtiff.tif");
    Volume* v = source();
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(file.c_str(), "w");
        for (int z = 0; tif && z < kN; ++z) {
            TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kN);
            TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kN);
            TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
            for (int y = 0; y < kN; ++y) TIFFWriteScanline(tif, v->data[0].uc[z][y], y, 0);
            TIFFWriteDirectory(tif);
        }
        if (!tif) state.SkipWithError("TIFFOpen failed");
        else TIFFClose(tif);
    }
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}
void BM_libtiff_read(benchmark::State& state) {
    SaveTiffStack(source(), kStackBase.c_str(), "tif", V3D_TIFF_NONE);
    const std::string file = kStackBase + ".tif";
    bench::Volume3 vol(kN, kN, kN, 1);
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(file.c_str(), "r");
        int z = 0;
        if (tif) do {
                for (int y = 0; y < kN; ++y) TIFFReadScanline(tif, vol.get()->data[0].uc[z][y], y, 0);
            } while (++z < kN && TIFFReadDirectory(tif));
        if (!tif || z != kN) state.SkipWithError("libtiff reading failed");
        if (tif) TIFFClose(tif);
    }
    state.SetBytesProcessed(state.iterations() * kN * kN * kN);
}

#define IO_BENCH(f) BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseRealTime()
IO_BENCH(BM_WriteVolume);
IO_BENCH(BM_plain_fwrite);
IO_BENCH(BM_ReadVolume);
IO_BENCH(BM_plain_fread);
IO_BENCH(BM_SaveTiffStack);
IO_BENCH(BM_libtiff_write);
IO_BENCH(BM_read_tiff_stack);
IO_BENCH(BM_libtiff_read);

}  // namespace

BENCHMARK_MAIN();
