#pragma once
// Measured points from files, told apart by their content: binary records, the library's CSV (semicolons,
// decimal commas) and ordinary CSV. Files are streamed; memory holds one profile at most.

#include <kvmath/profile/profile.h>

#include <QtCore/QFile>
#include <QtCore/QString>

namespace KvMeasure {

enum class FileForm { LibraryCsv, Csv, Records };

QString formName(FileForm form);

/// Head of a binary record.
struct RecordHead {
    unsigned char marker = 0;
    qint64 offset = 0;          ///< of the marker in the file
    quint32 count = 0;          ///< points announced
    float z = 0;                ///< of a profile with z
    qint32 tagA = 0, tagB = 0;  ///< of a profile with tags
    QByteArray bytes;           ///< the whole head as it stands in the file
};

QString recordName(unsigned char marker);  ///< e.g. "XY cloud"; empty for an unknown marker
int largestRecord(unsigned char marker);   ///< points that its count can hold
bool recordHasZ(unsigned char marker);     ///< its points have three coordinates

/// Opens for reading. Throws Failure for what is missing, no regular file or may not be read.
void openRegularFile(QFile& file);

/// The first letters of bytes that are not what they should be, fit for a terminal.
QString shown(const QByteArray& bytes);

/// A number of a text file. "nan" and "-nan" in any case are NaN: C, C#, Java and JavaScript write 0/0 so.
double textNumber(const QByteArray& text, bool& isNumber);

/// Opens a regular file and looks at its first bytes. Throws Failure for what cannot be opened, is no regular
/// file (devices and pipes are not touched), is empty, or is neither text nor begins with a record.
class PointFile {
public:
    explicit PointFile(const QString& path);

    const QString& path() const { return path_; }
    FileForm form() const { return form_; }
    qint64 size() const { return size_; }
    qint64 position() const { return position_; }  ///< bytes consumed, for progress

    /// Records: reads the next head; false at the end of the file. Throws Failure at a damaged place.
    bool nextHead(RecordHead& head);
    /// Records: reads the next points of the present record, at most `most`; none at its end. Plane points
    /// have z NaN. Throws Failure when the file ends early.
    const QList<KvMath::KvPointXYZ>& nextPoints(int most);

    template <class Visit>  ///< of all points of the present record
    void forEachPoint(const Visit& visit) {
        constexpr int pointsAtOnce = 65'536;
        while (!nextPoints(pointsAtOnce).isEmpty()) {
            for (const KvMath::KvPointXYZ& point : chunk_)
                visit(point);
        }
    }

    /// Text: the next point; false at the end of the file. Unset values ("nan" or nothing) are NaN. Throws
    /// Failure with the line, also where commas may both separate and be decimal marks.
    bool nextRow(KvMath::KvPointXY& point);
    /// "X,Y" counted from 1; empty for the first two. Throws Failure.
    void setColumns(const QString& columns);

private:
    [[noreturn]] void failAtOffset(qint64 offset, const QString& text) const;
    [[noreturn]] void failAtLine(const QString& text) const;
    void sniff();
    void chooseSeparator(const QByteArray& line);
    bool nextLine(QByteArray& line);
    void refuseDecimalCommas(const QByteArray& line, int fields);
    float field(const QList<QByteArray>& fields, int column, bool& isNumber) const;

    QString path_;
    QFile file_;
    FileForm form_ = FileForm::Csv;
    qint64 size_ = 0;
    qint64 position_ = 0;
    RecordHead head_;
    quint32 pointsLeft_ = 0;
    QList<KvMath::KvPointXYZ> chunk_;
    qint64 line_ = 0;
    char separator_ = ',';
    bool hasRows_ = false;
    bool areColumnsKnown_ = false;  // no comma is a decimal mark
    int xColumn_ = 0, yColumn_ = 1;
};

/// One profile of a file.
struct LoadedProfile {
    KvMath::KvProfile profile;  ///< without unset points
    QString name;               ///< the path, with "#n" behind it for the n-th record (from 0) of several
    QString stem;               ///< short form for titles and file names
    int unset = 0;              ///< points that were left out
    RecordHead head;            ///< of a record
    float z = 0;                ///< of a record

    bool hasZ() const { return head.marker == 0x05 || recordHasZ(head.marker); }  ///< z is a scan position
};

/// The profiles of a file, one after another. Profiles have at most 1,000,000 points.
class ProfileSource {
public:
    /// `columns` as "X,Y" counted from 1, or empty for the first two; only CSV has columns.
    ProfileSource(const QString& path, const QString& columns);
    bool next(LoadedProfile& loaded);  ///< false when there are no more; throws Failure
    FileForm form() const { return file_.form(); }
    qint64 size() const { return file_.size(); }
    qint64 position() const { return file_.position(); }

private:
    void add(LoadedProfile& loaded, float x, float y) const;
    void readRecord(const RecordHead& head, LoadedProfile& loaded);

    PointFile file_;
    int index_ = 0;
    bool isDone_ = false;
};

constexpr int lastRecord = 1'000'000'000;

/// One profile of a file, counted from 0. Throws Failure, also when the file has fewer.
LoadedProfile loadProfile(const QString& path, const QString& columns, int record);

}  // namespace KvMeasure
