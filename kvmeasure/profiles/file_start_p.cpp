#include <kvmeasure/profiles/file_start_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/profiles/profile_file.h>

#include <QtCore/QBuffer>

namespace KvMeasure::Internal {

namespace {

constexpr qint64 kStartBytes = 4096;

bool isPly(const FileStart& start) {
    const QByteArray first = start.bytes.mid(start.markBytes(), 4);
    return first == "ply\n" || first == "ply\r";
}

/// The first line of a text that says something.
QByteArray firstLine(QByteArray start) {
    QBuffer buffer(&start);
    buffer.open(QIODevice::ReadOnly);
    TextLines lines(buffer, QString(), kStartBytes + 1);
    try {
        while (lines.next()) {
            QByteArray line = lines.line().trimmed();
            if (!line.isEmpty() && !line.startsWith('#'))
                return line;
        }
    } catch (const Error&) {  // the reader says what is wrong
    }
    return QByteArray();
}

StartForm formOf(const FileStart& start) {
    if (start.bytes.isEmpty())
        return StartForm::Empty;
    if (!recordName(start.marker()).isEmpty())
        return StartForm::Records;
    if (isPly(start))
        return StartForm::Ply;
    if (start.encoding == TextEncoding::NoText)
        return StartForm::Bytes;
    return isGridHead(firstLine(start.bytes)) ? StartForm::Grid : StartForm::Text;
}

}  // namespace

FileStart::FileStart(QIODevice& device) : bytes(device.peek(kStartBytes)) {
    encoding = textEncoding(bytes, badByte);
    form = formOf(*this);
}

int FileStart::markBytes() const { return bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0; }

bool isGridHead(const QByteArray& line) { return line.startsWith("scan_mm/x_mm"); }

}  // namespace KvMeasure::Internal
