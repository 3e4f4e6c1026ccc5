// A grid as an image of 256 colours within the SVG. The PNG is written here, with the zlib of Qt Core, so
// that an SVG picture needs no other library. The scales are viridis for values and blue to red for
// deviations, linear between five colours.
#include <kvmeasure/drawing/raster_picture_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/dimensions_p.h>

#include <QtCore/QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr unsigned kOutsideColour = 0xFFFFFF;
constexpr unsigned kEmptyColour = 0xC9CDD2;
constexpr int kFirstLevel = 2;  // palette: outside, empty, then the levels
constexpr int kLevels = 254;

using Stops = std::array<unsigned, 5>;
constexpr Stops kSequentialStops{0x440154, 0x3B528B, 0x21918C, 0x5EC962, 0xFDE725};
constexpr Stops kDivergingStops{0x2166AC, 0x92C5DE, 0xF7F7F7, 0xF4A582, 0xB2182B};

/// Colour at a share from 0 to 1 of the scale, linear between the stops.
unsigned colourAt(const ColourScale& scale, double share) {
    const Stops& stops = scale.kind == ColourScale::Kind::Diverging ? kDivergingStops : kSequentialStops;
    const double place = share * static_cast<double>(stops.size() - 1);
    const auto stop = std::min(static_cast<std::size_t>(place), stops.size() - 2);
    const double part = place - static_cast<double>(stop);
    unsigned colour = 0;
    for (const unsigned shift : {16U, 8U, 0U}) {
        const double low = (stops[stop] >> shift) & 0xFFU;
        const double high = (stops[stop + 1] >> shift) & 0xFFU;
        colour |= static_cast<unsigned>(std::lround(low + (high - low) * part)) << shift;
    }
    return colour;
}

int levelOf(const ColourScale& scale, double value) {
    const double share = (value - scale.from) / (scale.to - scale.from);
    return kFirstLevel + static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * (kLevels - 1)));
}

QByteArray bigEndian(quint32 value) {
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// Checksum of a PNG chunk: CRC-32 as in ISO 3309, bit by bit; the images are small.
quint32 crc(const QByteArray& bytes) {
    quint32 rest = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        rest ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            rest = (rest >> 1U) ^ ((rest & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~rest;
}

QByteArray chunk(const char* name, const QByteArray& content) {
    const QByteArray body = name + content;
    return bigEndian(static_cast<quint32>(content.size())) + body + bigEndian(crc(body));
}

/// A PNG image of palette colours. `pixels` row by row, as many as columns times rows; at most 256 colours.
QByteArray palettePng(int columns, int rows, const QByteArray& pixels, const std::vector<unsigned>& colours) {
    QByteArray head = bigEndian(static_cast<quint32>(columns)) + bigEndian(static_cast<quint32>(rows));
    head +=
        QByteArray("\x08\x03\x00\x00\x00", 5);  // 8 bits, palette, deflate, no filter types, not interlaced
    QByteArray palette;
    for (const unsigned colour : colours) {
        for (const unsigned shift : {16U, 8U, 0U})
            palette += static_cast<char>((colour >> shift) & 0xFFU);
    }
    QByteArray lines;
    for (int row = 0; row < rows; ++row)
        lines += '\0' + pixels.mid(row * columns, columns);
    constexpr int kSizePrefix = 4;  // that qCompress puts before the zlib stream
    return QByteArray("\x89PNG\r\n\x1A\n", 8) + chunk("IHDR", head) + chunk("PLTE", palette) +
           chunk("IDAT", qCompress(lines, 9).mid(kSizePrefix)) + chunk("IEND", QByteArray());
}

constexpr int kTicksOfScale = 8;
constexpr double kNumbersGap = 9;  // pixels

/// The numbers at the ends, with a digit more than the ticks where these have too few.
struct Ends {
    QString lower, upper;
};

Ends endsOf(const ColourScale& scale, Ticks ticks) {
    const double unit = std::pow(10.0, -ticks.decimals);
    const auto isBetween = [unit](double value) {
        constexpr double kRounding = 1e-6;
        return std::fabs(value / unit - std::round(value / unit)) > kRounding;
    };
    ticks.decimals += isBetween(scale.from) || isBetween(scale.to) ? 1 : 0;
    return {(scale.isCut ? "≤ " : "") + ticks.text(scale.from),
            (scale.isCut ? "≥ " : "") + ticks.text(scale.to)};
}

}  // namespace

unsigned colourOf(const ColourScale& scale, double value) {
    return colourAt(scale, std::clamp((value - scale.from) / (scale.to - scale.from), 0.0, 1.0));
}

Raster thinned(const Raster& raster, int mostCells) {
    const double excess = double(raster.columns) * raster.rows / mostCells;
    const int block = std::max(1, static_cast<int>(std::ceil(std::sqrt(excess))));
    Raster result;
    result.columns = (raster.columns + block - 1) / block;
    result.rows = (raster.rows + block - 1) / block;
    for (int row = 0; row < raster.rows; row += block) {
        for (int column = 0; column < raster.columns; column += block) {
            double sum = 0;
            int count = 0;
            bool isOutside = !raster.outside.empty();
            for (int r = row; r < std::min(row + block, raster.rows); ++r) {
                for (int c = column; c < std::min(column + block, raster.columns); ++c) {
                    const float value = raster.at(c, r);
                    sum += std::isfinite(value) ? double(value) : 0.0;
                    count += std::isfinite(value) ? 1 : 0;
                    isOutside = isOutside && raster.outside[raster.cell(c, r)];
                }
            }
            result.values.push_back(static_cast<float>(sum / count));  // NaN for none
            result.outside.push_back(isOutside);
        }
    }
    return result;
}

void drawRaster(Canvas& canvas, const Rect& area, const Raster& raster, const ColourScale& scale) {
    std::vector<unsigned> colours{kOutsideColour, kEmptyColour};
    for (int level = 0; level < kLevels; ++level)
        colours.push_back(colourAt(scale, double(level) / (kLevels - 1)));
    QByteArray pixels;
    for (std::size_t i = 0; i < raster.values.size(); ++i) {
        const double value = double(raster.values[i]);
        const bool isOutside = !raster.outside.empty() && raster.outside[i];
        const int empty = isOutside ? 0 : 1;
        pixels += static_cast<char>(std::isfinite(value) ? levelOf(scale, value) : empty);
    }
    const QByteArray png = palettePng(raster.columns, raster.rows, pixels, colours);
    canvas.raw(
        filledIn("<image x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" preserveAspectRatio=\"none\" "
                 "image-rendering=\"optimizeSpeed\" "
                 "xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:href=\"data:image/png;base64,%5\"/>",
                 QString::number(area.left, 'f', 1), QString::number(area.top, 'f', 1),
                 QString::number(area.width(), 'f', 1), QString::number(area.height(), 'f', 1),
                 QString::fromLatin1(png.toBase64())));
    canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
}

void drawColourScale(Canvas& canvas, const Rect& area, const ColourScale& scale) {
    constexpr int kBands = 64;
    const double height = area.height() / kBands;
    for (int i = 0; i < kBands; ++i) {
        const double top = area.bottom - (i + 1) * height;
        const unsigned colour = colourAt(scale, (i + 0.5) / kBands);
        canvas.rect({area.left, top, area.right, top + height + 0.5},
                    QString("fill=\"#%1\"").arg(colour, 6, 16, QChar('0')));
    }
    canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    const Ticks ticks = ticksWithin(scale.from, scale.to, kTicksOfScale);
    constexpr double kLineHeight = 16;
    for (const double value : ticks.values) {
        const double y = area.bottom - area.height() * (value - scale.from) / (scale.to - scale.from);
        canvas.line({area.right, y}, {area.right + 5, y}, stroke("#333", 1));
        if (std::min(area.bottom - y, y - area.top) >= kLineHeight)
            canvas.text({area.right + kNumbersGap, y + 4.5}, ticks.text(value), "fill=\"#333\"");
    }
    const Ends ends = endsOf(scale, ticks);
    canvas.text({area.right + kNumbersGap, area.top + 4.5}, ends.upper, "fill=\"#333\"");
    canvas.text({area.right + kNumbersGap, area.bottom + 4.5}, ends.lower, "fill=\"#333\"");
    canvas.text({area.left, area.top - 14}, scale.unit, "fill=\"#333\"");
}

double numbersWidth(const ColourScale& scale) {
    constexpr double kSize = 13;
    const Ends ends = endsOf(scale, ticksWithin(scale.from, scale.to, kTicksOfScale));
    return kNumbersGap + std::max(textWidth(ends.lower, kSize), textWidth(ends.upper, kSize));
}

}  // namespace KvMeasure
