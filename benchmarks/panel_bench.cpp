// SPDX-License-Identifier: Apache-2.0
// Drawing into a buffer, and writing a captured picture, beside two libraries that draw for a living. What is drawn is
// compared with what they draw before anything is timed. The journal is off, the log is off.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <SDL.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <pixman.h>
#include <unistd.h>

#include "a_vextvfapi_disp.h"
#include "a_vextvfapi_disptst_draw.h"
#include "bench_set.h"
#include "limits.h"

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kPitch = kWidth * 4;
constexpr std::uint32_t kPixel = 0xFF112233;
constexpr DisptstColor kColor = {0x11, 0x22, 0x33, 0xFF};

void require(bool bTrue, const char* pszWhat) {
    if (!bTrue) {
        std::fprintf(stderr, "%s\n", pszWhat);
        std::exit(1);
    }
}

struct Freer {
    void operator()(SDL_Surface* pSurface) const { SDL_FreeSurface(pSurface); }
    void operator()(SDL_Renderer* pRenderer) const { SDL_DestroyRenderer(pRenderer); }
    void operator()(pixman_image_t* pImage) const { pixman_image_unref(pImage); }
};
using Surface = std::unique_ptr<SDL_Surface, Freer>;
using Renderer = std::unique_ptr<SDL_Renderer, Freer>;
using Image = std::unique_ptr<pixman_image_t, Freer>;

// A panel's worth of pixels, as each of the three sees them.
struct Panel {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(std::size_t{kWidth} * kHeight, 0xFFEEEEEE);
    DisptstCanvas canvas = {reinterpret_cast<unsigned char*>(pixels.data()), kPitch* kHeight, kWidth, kWidth, kHeight};
    Image image{pixman_image_create_bits(PIXMAN_a8r8g8b8, kWidth, kHeight, pixels.data(), kPitch)};
    Surface surface{
        SDL_CreateRGBSurfaceWithFormatFrom(pixels.data(), kWidth, kHeight, 32, kPitch, SDL_PIXELFORMAT_ARGB8888)};
};

Panel& panel() {
    static Panel panel;
    return panel;
}

using Draw = std::function<void(Panel&)>;

void drawOnPanel(benchmark::State& state, const Draw& draw) {
    for (auto _ : state) {
        draw(panel());
        benchmark::ClobberMemory();
    }
}

// Registers a drawing and those of its peers, which must give the same pixels.
struct Peer {
    const char* pszName;
    Draw draw;
    bool bSamePixels = true;
};

void compareAndRegister(const std::string& strName, const Draw& own, const std::vector<Peer>& peers) {
    Panel drawn;
    own(drawn);
    benchmark::RegisterBenchmark(strName.c_str(), drawOnPanel, own);
    for (const Peer& peer : peers) {
        Panel wanted;
        peer.draw(wanted);
        const std::string strPeer = strName + "_" + peer.pszName;
        require(!peer.bSamePixels || drawn.pixels == wanted.pixels, (strPeer + " draws other pixels").c_str());
        benchmark::RegisterBenchmark(strPeer.c_str(), drawOnPanel, peer.draw);
    }
}

// --- Rectangles ------------------------------------------------------------------------------------------------------

constexpr int kSizes[][2] = {{8, 8}, {64, 64}, {640, 360}, {1280, 720}};

void registerFills() {
    for (const auto& [s32Width, s32Height] : kSizes) {
        const int w = s32Width, h = s32Height, x = (kWidth - w) / 2, y = (kHeight - h) / 2;
        const auto own = [=](Panel& target) {
            _a_vextvfapi_disptst_fill_rect(target.canvas, kColor, static_cast<std::uint32_t>(x),
                                           static_cast<std::uint32_t>(y), static_cast<std::uint32_t>(w),
                                           static_cast<std::uint32_t>(h));
        };
        const auto fill = [=](Panel& target) { pixman_fill(target.pixels.data(), kWidth, 32, x, y, w, h, kPixel); };
        const auto fillRectangles = [=](Panel& target) {
            const pixman_color_t color = {0x1111, 0x2222, 0x3333, 0xFFFF};
            const pixman_rectangle16_t rectangle = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                                    static_cast<std::uint16_t>(w), static_cast<std::uint16_t>(h)};
            pixman_image_fill_rectangles(PIXMAN_OP_SRC, target.image.get(), &color, 1, &rectangle);
        };
        compareAndRegister("fill_" + std::to_string(w) + "x" + std::to_string(h), own,
                           {{"pixman", fill}, {"pixman_image", fillRectangles}});
    }
}

// --- A picture of 24 bits --------------------------------------------------------------------------------------------

constexpr int kSourcePitch = kWidth * 3;

std::vector<unsigned char>& picture() {
    static std::vector<unsigned char> bytes = [] {
        std::vector<unsigned char> noise(std::size_t{kSourcePitch} * kHeight);
        std::mt19937 random(1);
        for (unsigned char& u8Byte : noise) {
            u8Byte = static_cast<unsigned char>(random());
        }
        return noise;
    }();
    return bytes;
}

void blitRows(Panel& target) {
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        _a_vextvfapi_disptst_blit_row(target.canvas, 0, y, picture().data() + std::size_t{kSourcePitch} * y,
                                      kSourcePitch, kWidth);
    }
}

void compositeWithPixman(Panel& target) {
    static const Image source(pixman_image_create_bits(
        PIXMAN_r8g8b8, kWidth, kHeight, reinterpret_cast<std::uint32_t*>(picture().data()), kSourcePitch));
    pixman_image_composite32(PIXMAN_OP_SRC, source.get(), nullptr, target.image.get(), 0, 0, 0, 0, 0, 0, kWidth,
                             kHeight);
}

void convertWithSdl(Panel& target) {
    SDL_ConvertPixels(kWidth, kHeight, SDL_PIXELFORMAT_BGR24, picture().data(), kSourcePitch, SDL_PIXELFORMAT_ARGB8888,
                      target.pixels.data(), kPitch);
}

void blitWithSdl(Panel& target) {
    static const Surface source(
        SDL_CreateRGBSurfaceWithFormatFrom(picture().data(), kWidth, kHeight, 24, kSourcePitch, SDL_PIXELFORMAT_BGR24));
    SDL_BlitSurface(source.get(), nullptr, target.surface.get(), nullptr);
}

// --- Lines -----------------------------------------------------------------------------------------------------------

struct Line {
    int x0, y0, x1, y1;
};

// Lines from the middle to all around the edge.
std::vector<Line> fan() {
    constexpr int kStep = 8;
    std::vector<Line> lines;
    for (int x = 0; x < kWidth; x += kStep) {
        lines.push_back({kWidth / 2, kHeight / 2, x, 0});
        lines.push_back({kWidth / 2, kHeight / 2, x, kHeight - 1});
    }
    for (int y = 0; y < kHeight; y += kStep) {
        lines.push_back({kWidth / 2, kHeight / 2, 0, y});
        lines.push_back({kWidth / 2, kHeight / 2, kWidth - 1, y});
    }
    return lines;
}

// Lines on which there are no ties, so that all draw the same pixels between the ends.
const std::vector<Line> kStraight = {{10, 20, 1270, 20},  {1200, 30, 40, 30},    {50, 40, 50, 700},
                                     {60, 700, 60, 40},   {100, 100, 600, 600},  {900, 650, 300, 50},
                                     {700, 10, 200, 510}, {1000, 600, 1200, 400}};

void drawLines(Panel& target, const std::vector<Line>& lines) {
    for (const Line& line : lines) {
        _a_vextvfapi_disptst_plot_line(target.canvas, kColor, static_cast<std::uint32_t>(line.x0),
                                       static_cast<std::uint32_t>(line.y0), static_cast<std::uint32_t>(line.x1),
                                       static_cast<std::uint32_t>(line.y1));
    }
}

void drawLinesWithSdl(SDL_Renderer* pRenderer, const std::vector<Line>& lines) {
    SDL_SetRenderDrawColor(pRenderer, 0x11, 0x22, 0x33, 0xFF);
    for (const Line& line : lines) {
        SDL_RenderDrawLine(pRenderer, line.x0, line.y0, line.x1, line.y1);
    }
    SDL_RenderFlush(pRenderer);
}

// The peer draws both ends. Ours leaves out the one with the larger major coordinate.
void compareStraightLines() {
    Panel drawn, wanted;
    drawLines(drawn, kStraight);
    for (const Line& line : kStraight) {
        const bool bSteep = std::abs(line.y1 - line.y0) >= std::abs(line.x1 - line.x0);
        const bool bFirst = bSteep ? line.y0 > line.y1 : line.x0 > line.x1;
        _a_vextvfapi_disptst_plot(drawn.canvas, kColor, static_cast<std::uint32_t>(bFirst ? line.x0 : line.x1),
                                  static_cast<std::uint32_t>(bFirst ? line.y0 : line.y1));
    }
    const Renderer renderer(SDL_CreateSoftwareRenderer(wanted.surface.get()));
    drawLinesWithSdl(renderer.get(), kStraight);
    require(drawn.pixels == wanted.pixels, "the peer draws other straight lines");
}

void registerLines() {
    compareStraightLines();
    static const std::vector<Line> lines = fan();
    static const Renderer renderer(SDL_CreateSoftwareRenderer(panel().surface.get()));
    benchmark::RegisterBenchmark("lines", drawOnPanel, [](Panel& target) { drawLines(target, lines); });
    benchmark::RegisterBenchmark("lines_sdl", drawOnPanel, [](Panel&) { drawLinesWithSdl(renderer.get(), lines); });
}

// --- A captured picture becomes a file -------------------------------------------------------------------------------

constexpr int kCaptureWidth = 1920;
constexpr int kCaptureHeight = 1080;
constexpr int kCapturePitch = kCaptureWidth * 4;

std::vector<std::uint32_t>& captured() {
    static std::vector<std::uint32_t> pixels = [] {
        std::vector<std::uint32_t> noise(std::size_t{kCaptureWidth} * kCaptureHeight);
        std::mt19937 random(2);
        for (std::uint32_t& u32Pixel : noise) {
            u32Pixel = static_cast<std::uint32_t>(random()) | 0xFF000000;
        }
        return noise;
    }();
    return pixels;
}

// The file is in memory, so that no disk is measured.
const std::string& captureFile() {
    static const std::string strPath = "/dev/shm/fapi-bench-" + std::to_string(getpid()) + ".bmp";
    return strPath;
}

std::vector<char> fileBytes() {
    std::ifstream file(captureFile(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool writeCapture() {
    return _a_vextvfapi_output_bmp_file(reinterpret_cast<const unsigned char*>(captureFile().c_str()),
                                        reinterpret_cast<std::uintptr_t>(captured().data()), kCapturePitch,
                                        kCaptureWidth, kCaptureHeight) == 0;
}

bool writeBare(const std::vector<char>& bytes) {
    const int s32File = open(captureFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool bWritten = write(s32File, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    return close(s32File) == 0 && bWritten;
}

bool saveWithSdl() {
    static const Surface surface(SDL_CreateRGBSurfaceWithFormatFrom(captured().data(), kCaptureWidth, kCaptureHeight,
                                                                    32, kCapturePitch, SDL_PIXELFORMAT_ARGB8888));
    return SDL_SaveBMP(surface.get(), captureFile().c_str()) == 0;
}

void writeRepeatedly(benchmark::State& state, const std::function<bool()>& write) {
    for (auto _ : state) {
        if (!write()) {
            state.SkipWithError("the file cannot be written");
        }
    }
}

void registerCaptures() {
    require(writeCapture(), "a capture cannot be written");
    static const std::vector<char> bytes = fileBytes();
    require(saveWithSdl(), "the peer cannot save");
    // The peer's header is longer.
    const std::vector<char> peer = fileBytes();
    constexpr std::size_t kRows = std::size_t{kCapturePitch} * kCaptureHeight;
    require(bytes.size() >= kRows && peer.size() >= kRows &&
                std::equal(bytes.end() - kRows, bytes.end(), peer.end() - kRows),
            "the peer saves another picture");
    const auto add = [](const char* pszName, const std::function<bool()>& write) {
        benchmark::RegisterBenchmark(pszName, writeRepeatedly, write)->Unit(benchmark::kMillisecond);
    };
    add("capture", writeCapture);
    add("capture_bare_write", [] { return writeBare(bytes); });
    add("capture_sdl", saveWithSdl);
}

// Where the host's memory is the limit, fill and peer take the same time, and the rest is noise.
constexpr double kFill = 1.15;

constexpr bench::Goal kGoals[] = {
    {"fill_8x8", "fill_8x8_pixman", bench::Limit::processorTimesPeer, kFill},
    {"fill_8x8", "fill_8x8_pixman_image", bench::Limit::processorTimesPeer, kFill},
    {"fill_64x64", "fill_64x64_pixman", bench::Limit::processorTimesPeer, kFill},
    {"fill_64x64", "fill_64x64_pixman_image", bench::Limit::processorTimesPeer, kFill},
    {"fill_640x360", "fill_640x360_pixman", bench::Limit::processorTimesPeer, kFill},
    {"fill_640x360", "fill_640x360_pixman_image", bench::Limit::processorTimesPeer, kFill},
    {"fill_1280x720", "fill_1280x720_pixman", bench::Limit::processorTimesPeer, kFill},
    {"fill_1280x720", "fill_1280x720_pixman_image", bench::Limit::processorTimesPeer, kFill},
    {"blit", "blit_pixman", bench::Limit::processorTimesPeer, 0.5},
    {"blit", "blit_sdl_convert", bench::Limit::processorTimesPeer, 0.5},
    {"blit", "blit_sdl", bench::Limit::processorTimesPeer, 0.5},
    {"lines", "lines_sdl", bench::Limit::processorTimesPeer, 1.0},
    {"capture", "capture_bare_write", bench::Limit::processorTimesPeer, 1.4},
    {"capture", "capture_sdl", bench::Limit::processorTimesPeer, 0.7},
};

}  // namespace

int main(int argc, char** argv) {
    const bench::Set set;
    registerFills();
    compareAndRegister("blit", blitRows,
                       {{"pixman", compositeWithPixman}, {"sdl_convert", convertWithSdl}, {"sdl", blitWithSdl}});
    registerLines();
    registerCaptures();
    const int s32Result = bench::runAndJudge(argc, argv, kGoals, static_cast<int>(std::size(kGoals)));
    unlink(captureFile().c_str());
    return s32Result;
}
