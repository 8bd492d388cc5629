// Colour reduction (median cut + Floyd-Steinberg) and a GIF89a writer with LZW compression.
#include <algorithm>
#include <array>
#include <cmath>

#include "assets.h"

namespace bm::assets {

namespace {

// Colours are counted in a 5-bit-per-channel histogram; each bin keeps exact channel sums.
struct Bin {
    int key;  // r5 << 10 | g5 << 5 | b5
    uint32_t count;
    uint64_t sum[3];
    int channel(int c) const { return (key >> (10 - 5 * c)) & 31; }
};

struct Box {
    size_t begin, end;  // range of bins
    uint64_t count;
    int axis;   // channel with the widest spread
    int range;  // that spread
};

Box makeBox(const std::vector<Bin>& bins, size_t begin, size_t end) {
    Box box{begin, end, 0, 0, -1};
    int lo[3] = {31, 31, 31}, hi[3] = {0, 0, 0};
    for (size_t i = begin; i < end; ++i) {
        box.count += bins[i].count;
        for (int c = 0; c < 3; ++c) {
            lo[c] = std::min(lo[c], bins[i].channel(c));
            hi[c] = std::max(hi[c], bins[i].channel(c));
        }
    }
    for (int c = 0; c < 3; ++c) {
        if (hi[c] - lo[c] > box.range) box.range = hi[c] - lo[c], box.axis = c;
    }
    return box;
}

std::vector<QRgb> medianCut(const QImage& img) {
    std::vector<Bin> hist(32768);
    for (int k = 0; k < 32768; ++k) hist[k] = {k, 0, {0, 0, 0}};
    for (int y = 0; y < img.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(img.constScanLine(y));
        for (int x = 0; x < img.width(); ++x) {
            const int r = qRed(line[x]), g = qGreen(line[x]), b = qBlue(line[x]);
            Bin& bin = hist[(r >> 3) << 10 | (g >> 3) << 5 | (b >> 3)];
            ++bin.count;
            bin.sum[0] += r, bin.sum[1] += g, bin.sum[2] += b;
        }
    }
    std::vector<Bin> bins;
    std::copy_if(hist.begin(), hist.end(), std::back_inserter(bins),
                 [](const Bin& b) { return b.count > 0; });

    // Split the box that is both populous and wide until the palette is full; weighting by
    // spread keeps small but distinct details (lights, flowers) from being swallowed.
    std::vector<Box> boxes{makeBox(bins, 0, bins.size())};
    while (boxes.size() < 256) {
        auto best = boxes.end();
        double bestScore = 0;
        for (auto it = boxes.begin(); it != boxes.end(); ++it) {
            const double score = std::sqrt(double(it->count)) * it->range * it->range;
            if (it->end - it->begin > 1 && score > bestScore) best = it, bestScore = score;
        }
        if (best == boxes.end()) break;
        const Box box = *best;
        std::sort(bins.begin() + box.begin, bins.begin() + box.end,
                  [axis = box.axis](const Bin& a, const Bin& b) {
                      return a.channel(axis) < b.channel(axis);
                  });
        uint64_t seen = 0;
        size_t split = box.begin + 1;
        for (size_t i = box.begin; i + 1 < box.end; ++i) {
            seen += bins[i].count;
            split = i + 1;
            if (seen * 2 >= box.count) break;
        }
        *best = makeBox(bins, box.begin, split);
        boxes.push_back(makeBox(bins, split, box.end));
    }

    std::vector<QRgb> palette;
    for (const Box& box : boxes) {
        uint64_t sum[3] = {0, 0, 0};
        for (size_t i = box.begin; i < box.end; ++i) {
            for (int c = 0; c < 3; ++c) sum[c] += bins[i].sum[c];
        }
        const auto mean = [&](int c) { return int((sum[c] + box.count / 2) / box.count); };
        palette.push_back(qRgb(mean(0), mean(1), mean(2)));
    }
    return palette;
}

// Packs variable-width codes, least significant bit first.
class BitWriter {
  public:
    void put(int code, int width) {
        acc_ |= uint32_t(code) << bits_;
        bits_ += width;
        while (bits_ >= 8) {
            bytes_.append(char(acc_ & 0xff));
            acc_ >>= 8;
            bits_ -= 8;
        }
    }
    QByteArray finish() {
        if (bits_ > 0) bytes_.append(char(acc_ & 0xff));
        return bytes_;
    }

  private:
    QByteArray bytes_;
    uint32_t acc_ = 0;
    int bits_ = 0;
};

QByteArray lzw(const std::vector<uint8_t>& pixels) {
    constexpr int kClear = 256, kEnd = 257, kMaxCode = 4096;
    // child[code * 256 + byte] is the code of the string `code` extended by `byte`; 0 = none.
    std::vector<uint16_t> child(kMaxCode * 256, 0);
    BitWriter out;
    int width = 9, next = kEnd + 1;
    out.put(kClear, width);
    if (pixels.empty()) {
        out.put(kEnd, width);
        return out.finish();
    }
    int prefix = pixels[0];
    for (size_t i = 1; i < pixels.size(); ++i) {
        const int byte = pixels[i];
        if (const int code = child[prefix * 256 + byte]) {
            prefix = code;
            continue;
        }
        out.put(prefix, width);
        if (next < kMaxCode) {
            child[prefix * 256 + byte] = uint16_t(next);
            // The decoder adds each entry one code later, so widen once the new code no
            // longer fits: from then on it may be sent.
            if (next == (1 << width) && width < 12) ++width;
            ++next;
        } else {
            out.put(kClear, width);
            std::fill(child.begin(), child.end(), 0);
            width = 9;
            next = kEnd + 1;
        }
        prefix = byte;
    }
    out.put(prefix, width);
    // After that last code the decoder adds one more entry and may have widened.
    if (next == (1 << width) && width < 12) ++width;
    out.put(kEnd, width);
    return out.finish();
}

void put16(QByteArray& b, int v) {
    b.append(char(v & 0xff));
    b.append(char((v >> 8) & 0xff));
}

}  // namespace

IndexedImage quantize(const QImage& source) {
    const QImage img = source.convertToFormat(QImage::Format_RGB32);
    IndexedImage out;
    out.width = img.width();
    out.height = img.height();
    out.palette = medianCut(img);
    out.pixels.resize(size_t(out.width) * out.height);

    // Nearest palette entry, cached per 5-bit colour cell.
    std::vector<int16_t> nearest(32768, -1);
    const auto lookup = [&](int r, int g, int b) {
        int16_t& hit = nearest[(r >> 3) << 10 | (g >> 3) << 5 | (b >> 3)];
        if (hit < 0) {
            const int cr = (r & ~7) + 4, cg = (g & ~7) + 4, cb = (b & ~7) + 4;
            int bestDist = 1 << 30;
            for (size_t i = 0; i < out.palette.size(); ++i) {
                const QRgb p = out.palette[i];
                const int dr = qRed(p) - cr, dg = qGreen(p) - cg, db = qBlue(p) - cb;
                const int dist = 3 * dr * dr + 4 * dg * dg + 2 * db * db;
                if (dist < bestDist) bestDist = dist, hit = int16_t(i);
            }
        }
        return hit;
    };

    // Floyd-Steinberg with serpentine scanning; errors carried in two rows of floats.
    const int w = out.width;
    std::vector<std::array<float, 3>> err(size_t(w) + 2), below(size_t(w) + 2);
    for (int y = 0; y < out.height; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(img.constScanLine(y));
        const bool leftToRight = y % 2 == 0;
        const int step = leftToRight ? 1 : -1;
        std::fill(below.begin(), below.end(), std::array<float, 3>{0, 0, 0});
        for (int i = 0; i < w; ++i) {
            const int x = leftToRight ? i : w - 1 - i;
            const int src[3] = {qRed(line[x]), qGreen(line[x]), qBlue(line[x])};
            int want[3];
            for (int c = 0; c < 3; ++c) {
                want[c] = std::clamp(int(std::lround(src[c] + err[x + 1][c])), 0, 255);
            }
            const int index = lookup(want[0], want[1], want[2]);
            out.pixels[size_t(y) * w + x] = uint8_t(index);
            const QRgb got = out.palette[index];
            const int have[3] = {qRed(got), qGreen(got), qBlue(got)};
            for (int c = 0; c < 3; ++c) {
                const float e = float(want[c] - have[c]);
                err[x + 1 + step][c] += e * 7 / 16;
                below[x + 1 - step][c] += e * 3 / 16;
                below[x + 1][c] += e * 5 / 16;
                below[x + 1 + step][c] += e * 1 / 16;
            }
        }
        std::swap(err, below);
    }
    return out;
}

QByteArray encodeGif(const IndexedImage& image) {
    QByteArray b("GIF89a");
    put16(b, image.width);
    put16(b, image.height);
    b.append(char(0xF7));  // global colour table of 256 entries, 8 bits per primary
    b.append(char(0));     // background colour index
    b.append(char(0));     // square pixels
    for (int i = 0; i < 256; ++i) {
        const QRgb c = i < int(image.palette.size()) ? image.palette[i] : qRgb(0, 0, 0);
        b.append(char(qRed(c)));
        b.append(char(qGreen(c)));
        b.append(char(qBlue(c)));
    }
    b.append(char(0x2C));  // image descriptor: whole screen, no local table, not interlaced
    put16(b, 0);
    put16(b, 0);
    put16(b, image.width);
    put16(b, image.height);
    b.append(char(0));
    b.append(char(8));  // minimum LZW code size
    const QByteArray data = lzw(image.pixels);
    for (qsizetype pos = 0; pos < data.size(); pos += 255) {
        const QByteArray block = data.mid(pos, 255);
        b.append(char(block.size()));
        b.append(block);
    }
    b.append(char(0));     // end of image data
    b.append(char(0x3B));  // trailer
    return b;
}

}  // namespace bm::assets
