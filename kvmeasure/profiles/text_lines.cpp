// Reads in blocks and hands out one line after another in UTF-8; a line beyond the limit ends the reading, so
// that memory does not follow the size of a file.

#include <kvmeasure/profiles/text_lines.h>

#include <kvmeasure/base/error.h>

#include <QtCore/QRegularExpression>

namespace KvMeasure {

namespace {

constexpr int kChunkBytes = 1 << 16;

const QByteArray utf8Mark("\xEF\xBB\xBF"), littleEndianMark("\xFF\xFE"), bigEndianMark("\xFE\xFF");

bool isControl(unsigned char byte) { return byte < 0x20 && byte != '\t' && byte != '\r' && byte != '\n'; }

/// Letters of ASCII have one zero byte in each pair, and the other is no control character.
TextEncoding encodingByZeros(const QByteArray& start) {
    int zeros[2] = {0, 0};
    const int pairs = static_cast<int>(start.size()) / 2;
    for (int i = 0; i < 2 * pairs; ++i) {
        zeros[i % 2] += start[i] == '\0' ? 1 : 0;
        if (start[i] != '\0' && isControl(static_cast<unsigned char>(start[i])))
            return TextEncoding::NoText;
    }
    constexpr int kFewest = 2, kMost = 10;  // of ten letters nine are ASCII
    if (pairs < kFewest)
        return TextEncoding::NoText;
    if (zeros[0] == 0 && kMost * zeros[1] >= (kMost - 1) * pairs)
        return TextEncoding::Utf16LittleEndian;
    if (zeros[1] == 0 && kMost * zeros[0] >= (kMost - 1) * pairs)
        return TextEncoding::Utf16BigEndian;
    return TextEncoding::NoText;
}

QByteArray utf8Of(const QByteArray& bytes, bool isBigEndian) {
    QString text;
    text.reserve(bytes.size() / 2);
    for (int i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        text += QChar(static_cast<ushort>(isBigEndian ? first << 8 | second : second << 8 | first));
    }
    return text.toUtf8();
}

/// No-break spaces as blanks: they stand between numbers in text from web pages and word processors.
QByteArray withBlanks(const QByteArray& line) {
    unsigned bits = 0;  // of all letters: those of ASCII have no eighth, and take several at a time
    for (const char letter : line)
        bits |= static_cast<unsigned char>(letter);
    if (bits < 0x80 || (!line.contains('\xA0') && !line.contains("\xE2\x80\xAF")))
        return line;
    QString text = decoded(line);
    for (const int space : {0x00A0, 0x202F})
        text.replace(QChar(space), ' ');
    return text.toUtf8();
}

/// "1 234,5 2 000": numbers in groups of three digits by no-break spaces, in a row with another separator.
bool hasGroupedDigits(const QByteArray& line) {
    static const QRegularExpression group("(?<![\\d.,])\\d{1,3}[\u00A0\u202F]\\d{3}(?!\\d)"), other("[ \t;]"),
        word("[^-+\\d.,;eE\\s\u00A0\u202F]");
    const QString text = decoded(line);
    return text.contains(group) && text.contains(other) && !text.contains(word);
}

}  // namespace

TextEncoding textEncoding(const QByteArray& start, int& badByte) {
    if (start.startsWith(littleEndianMark))
        return TextEncoding::Utf16LittleEndian;
    if (start.startsWith(bigEndianMark))
        return TextEncoding::Utf16BigEndian;
    for (int i = 0; i < start.size(); ++i) {
        const auto byte = static_cast<unsigned char>(start[i]);
        if (!isControl(byte))
            continue;
        badByte = i;
        return byte == 0 ? encodingByZeros(start) : TextEncoding::NoText;
    }
    return TextEncoding::EightBit;
}

TextLines::TextLines(QIODevice& device, const QString& name, qint64 longest)
    : device_(device), name_(name), longest_(longest) {
    const QByteArray start = device.peek(4096);
    int badByte = 0;
    encoding_ = textEncoding(start, badByte);
    if (start.startsWith(utf8Mark))
        device.read(utf8Mark.size());
    else if (start.startsWith(littleEndianMark) || start.startsWith(bigEndianMark))
        device.read(littleEndianMark.size());
}

void TextLines::fail(const QString& text) const {
    throw Error(name_ + QString(": line %1: ").arg(number_) + text).inFile(name_).atLine(number_);
}

/// Sees to it that so many bytes lie ahead, unless the text ends before.
bool TextLines::refill(int needed) {
    while (buffer_.size() - place_ < needed) {
        QByteArray more = device_.read(kChunkBytes);
        if (more.isEmpty())
            return false;
        const bool hasPairs =
            encoding_ == TextEncoding::Utf16LittleEndian || encoding_ == TextEncoding::Utf16BigEndian;
        if (hasPairs && more.size() % 2 == 1)
            more += device_.read(1);
        if (hasPairs)
            more = utf8Of(more, encoding_ == TextEncoding::Utf16BigEndian);
        buffer_ = buffer_.mid(place_) + more;
        place_ = 0;
    }
    return true;
}

bool TextLines::next() {
    line_.clear();
    if (wasReturn_ && refill(2) && buffer_[place_] == '\r' && buffer_[place_ + 1] == '\n')
        ++place_;
    if (wasReturn_ && refill(1) && buffer_[place_] == '\n')
        ++place_;
    wasReturn_ = false;
    if (!refill(1))
        return false;
    ++number_;
    while (refill(1)) {
        const char* const from = buffer_.constData() + place_;
        const char* const end = buffer_.constData() + buffer_.size();
        const char* at = from;
        while (at != end && *at != '\n' && *at != '\r' && *at != '\0')
            ++at;
        line_.append(from, static_cast<int>(at - from));
        place_ += static_cast<int>(at - from);
        if (line_.size() >= longest_)
            fail(QString("is longer than %1 bytes; expected one point or one row per line").arg(longest_));
        if (at == end)
            continue;
        if (*at == '\0')
            fail("holds a zero byte; expected text");
        wasReturn_ = *at == '\r';
        ++place_;
        break;
    }
    const QByteArray plain = withBlanks(line_);
    if (plain.constData() != line_.constData() && plain != line_ && hasGroupedDigits(line_))
        fail("has no-break spaces between groups of three digits, or between numbers; write 1234.5 for "
             "numbers, with one kind of separator");
    line_ = plain;
    return true;
}

QString decoded(const QByteArray& bytes) {
    const QString text = QString::fromUtf8(bytes);
    return text.contains(QChar(QChar::ReplacementCharacter)) ? QString::fromLatin1(bytes) : text;
}

QString shown(const QByteArray& bytes) {
    constexpr int kLongest = 40, kBytesOfOne = 4;
    QByteArray start = bytes.left(kBytesOfOne * kLongest);
    while (start.size() < bytes.size() && !start.isEmpty() && (start.back() & 0x80) != 0)
        start.chop(1);  // a letter may be cut
    const QString whole = decoded(start);
    QString text;
    for (const QChar letter : whole.left(kLongest))
        text += letter.isPrint() ? letter : QChar('?');
    return whole.size() > kLongest || start.size() < bytes.size() ? text + "..." : text;
}

}  // namespace KvMeasure
