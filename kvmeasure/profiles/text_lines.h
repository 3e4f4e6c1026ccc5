#pragma once
// The lines of a text, whatever ends them and whether it stands in UTF-8, in another 8-bit code or in UTF-16.

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QString>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// How a text is written; EightBit is UTF-8, ASCII or another 8-bit code.
enum class TextEncoding { EightBit, Utf16LittleEndian, Utf16BigEndian, NoText };

/// The encoding by the first bytes of a file. UTF-16 is told by its byte order mark, or by zero bytes in
/// every second place. `badByte` receives the place of the first control character where that is NoText, and
/// means nothing otherwise. No bytes: EightBit.
KVMEASURE_EXPORT TextEncoding textEncoding(const QByteArray& start, int& badByte);

/// Lines one after another, in 8 bits, without their ends and without a byte order mark. Lines end with a
/// line feed, a carriage return, or both ("\r\r\n" too is one end). No-break spaces are blanks.
class KVMEASURE_EXPORT TextLines {
public:
    /// Reads from the present place of the device, which is open and outlives this. `name` is the file() of
    /// errors; lines have fewer than `longest` bytes.
    TextLines(QIODevice& device, const QString& name, qint64 longest);

    /// Goes to the next line; false at the end. Throws Error with file() and line() for a line that is too
    /// long, holds a zero byte, or has no-break spaces between groups of digits.
    bool next();
    const QByteArray& line() const { return line_; }     ///< until the next call of next()
    qint64 number() const { return number_; }            ///< of the line, from 1; 0 before the first
    TextEncoding encoding() const { return encoding_; }  ///< of the whole text; NoText is read as EightBit
    [[noreturn]] void fail(const QString& text) const;   ///< throws Error with name and line

private:
    bool refill(int needed);

    QIODevice& device_;
    QString name_;
    qint64 longest_;
    TextEncoding encoding_;
    QByteArray buffer_, line_;
    int place_ = 0;  // in the buffer
    qint64 number_ = 0;
    bool wasReturn_ = false;  // the line before ended with a carriage return
};

/// A text of a file for messages: UTF-8, or Latin-1 where it is none.
KVMEASURE_EXPORT QString decoded(const QByteArray& bytes);

/// The first 40 letters of bytes that are not what they should be, fit for a terminal: '?' for what cannot be
/// printed, "..." where there are more.
KVMEASURE_EXPORT QString shown(const QByteArray& bytes);

}  // namespace KvMeasure
