#pragma once
// The form of a file of points, told by its first bytes: asked here by every reader and command.

#include <kvmeasure/profiles/text_lines.h>

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>

namespace KvMeasure::Internal {

/// What the first bytes of a file are. Bytes is none of the others: a raw height map, or no file of points.
enum class StartForm { Empty, Records, Ply, Grid, Text, Bytes };

/// The first 4096 bytes of a file and what they tell. A PLY file may hold text or not: `encoding` says it.
struct FileStart {
    /// Looks at a device that is open at its beginning, and leaves it there.
    explicit FileStart(QIODevice& device);

    /// The first byte, which tells the kind of a record; 0 for an empty file.
    unsigned char marker() const { return bytes.isEmpty() ? 0 : static_cast<unsigned char>(bytes[0]); }
    int markBytes() const;  ///< bytes of a mark that some editors put in front of UTF-8: 0 or 3

    QByteArray bytes;
    StartForm form = StartForm::Empty;
    TextEncoding encoding = TextEncoding::EightBit;
    int badByte = 0;  ///< where encoding is NoText: the place of the first byte that is of no text
};

/// True for the first line of a CSV grid, which holds the x of the columns; the other lines begin with their
/// scan position.
bool isGridHead(const QByteArray& line);

}  // namespace KvMeasure::Internal
