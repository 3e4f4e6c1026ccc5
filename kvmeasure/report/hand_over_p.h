#pragma once
// What the writers of files that are handed on share.

#include <kvmeasure/base/output_file.h>
#include <kvmeasure/report/hand_over.h>
#include <kvmeasure/report/results_store.h>

#include <QtCore/QTemporaryFile>

namespace KvMeasure::Internal {

/// The text on one line: control characters and what no XML may hold are blanks, several blanks are one; at
/// most `length` characters of it, 0: all.
QString lineOf(const QString& text, int length = 0);

/// A value of a part that was read; of another one the missing value of that place with the part's reason.
Value valueOf(const HandedRun& run, const StoredPart& part, int characteristic);

/// Text that is written when its end is known, because its beginning depends on it: kept in a file without a
/// name, whatever its size. All functions throw Error where that file cannot be written.
class CollectedText {
public:
    CollectedText();
    void add(const QByteArray& text);
    bool isAscii() const { return isAscii_; }  ///< no other character was added
    void copyTo(OutputFile& file);             ///< all that was added; the last call

private:
    [[noreturn]] void fail() const;

    QTemporaryFile file_;
    bool isAscii_ = true;
};

}  // namespace KvMeasure::Internal
