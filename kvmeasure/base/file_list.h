#pragma once
// A text file that names files, one a line, and what tells such lists apart.
//
//     FileList list("files.txt");
//     for (ListedFile file; list.next(file);)
//         ...file.path, or file.fault...

#include <kvmeasure/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

#include <memory>
#include <vector>

namespace KvMeasure {

/// Tells lists of names apart by their order and content. The digest of one list after another follows from
/// those of both. Lists differ by chance with equal digests once in 1e18 pairs.
class KVMEASURE_EXPORT ListDigest {
public:
    void add(const QByteArray& name);        ///< the next name of the list
    void append(const ListDigest& behind);   ///< all names of another list, after those of this one
    qint64 count() const { return count_; }  ///< names
    QByteArray text() const;                 ///< 16 hexadecimal digits
    /// The digest with this text and number of names. False, this one as it was, for a text that is none.
    bool read(const QByteArray& text, qint64 count);

    /// Equal digests: the lists are equal.
    bool operator==(const ListDigest& other) const {
        return count_ == other.count_ && sums_[0] == other.sums_[0] && sums_[1] == other.sums_[1];
    }
    bool operator!=(const ListDigest& other) const { return !(*this == other); }  ///< not equal

private:
    quint64 sums_[2] = {0, 0};
    qint64 count_ = 0;
};

/// Names that were seen: up to 32 bytes for each are kept, so that millions find room in memory.
class KVMEASURE_EXPORT NameSet {
public:
    bool insert(const QByteArray& name);  ///< false where the name was inserted before

private:
    void grow();

    std::vector<quint64> places_;  ///< 0: free
    std::size_t count_ = 0;
};

/// A line of a list.
struct ListedFile {
    QString path;   ///< as the line has it, and as it is named in results
    QString fault;  ///< why it names no file that can be read; empty: it may
};

/// Reads names line by line, LF or CR LF; empty lines are passed over, blanks and quotes are of the name. A
/// byte order mark at the start is none of it.
class KVMEASURE_EXPORT FileList {
public:
    /// Reads the list once for its digest. "-" is standard input. Throws Error with file() for what
    /// openRegularFile refuses, a line of more than 64 kB, bytes 0 (UTF-16), and a list without names.
    explicit FileList(const QString& path);

    /// Replaces `file` by the next one, in order; false after the last.
    bool next(ListedFile& file);
    const QString& path() const { return path_; }            ///< of the list
    const ListDigest& digest() const { return digest_; }     ///< of all lines with a name
    qint64 duplicates() const { return duplicates_; }        ///< lines with a name that one before has
    const QString& duplicate() const { return duplicate_; }  ///< the first such name; empty: none

private:
    bool readName(QByteArray& name);

    QString path_, duplicate_;
    std::shared_ptr<QFile> file_;
    ListDigest digest_;
    qint64 duplicates_ = 0, line_ = 0;
};

}  // namespace KvMeasure
