#pragma once
// Measured points from files, told apart by their content: binary records and text. Records are streamed,
// memory holds one profile of them at most; a text is read as a whole.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/profile_text.h>

#include <kvmath/core/record_layout.h>
#include <kvmath/profile/profile.h>

#include <QtCore/QFile>
#include <QtCore/QString>

#include <memory>
#include <vector>

namespace KvMeasure {

/// The form of a file: CSV with semicolons, other CSV, binary records.
enum class FileForm { LibraryCsv, Csv, Records };

/// What a user is told of a form: "CSV with semicolons", "CSV", "binary records".
KVMEASURE_EXPORT QString formName(FileForm form);

/// Head of a binary record.
struct RecordHead {
    unsigned char marker = 0;  ///< its first byte, a KvMath::RecordMarker; 0: there is no record
    qint64 offset = 0;         ///< of the marker in the file, bytes
    quint32 count = 0;         ///< points announced
    float z = 0;               ///< of a profile with z, mm
    qint32 tagA = 0;           ///< first tag of a profile with tags
    qint32 tagB = 0;           ///< second tag
    QByteArray bytes;          ///< the whole head as it stands in the file
};

KVMEASURE_EXPORT QString recordName(unsigned char marker);  ///< e.g. "XY cloud"; empty for an unknown marker
KVMEASURE_EXPORT int largestRecord(unsigned char marker);   ///< most points that its count can hold
KVMEASURE_EXPORT bool recordHasZ(unsigned char marker);     ///< its points have three coordinates

/// True when an open file begins with the marker of a binary record; false for an empty one. It is left at
/// its beginning.
KVMEASURE_EXPORT bool holdsRecords(QFile& file);

/// A file of measured points, read by record or as text, once from its beginning. Records:
///
///     PointFile file(path);
///     RecordHead head;
///     while (file.nextHead(head))              // then all of its points, before the next head
///         file.forEachPoint([&](const KvMath::KvPointXYZ& point) { take(point); });
class KVMEASURE_EXPORT PointFile {
public:
    /// Opens a regular file and looks at its first bytes. Throws Error with file() for what cannot be opened,
    /// is no regular file (devices and pipes are not touched), is empty, or is neither text nor begins with a
    /// record.
    explicit PointFile(const QString& path);
    /// The same from the beginning of a file that is open. `path` is its name in messages.
    PointFile(std::shared_ptr<QFile> file, const QString& path);

    const QString& path() const { return path_; }  ///< as it was given
    FileForm form() const { return form_; }        ///< of a text LibraryCsv only after readText
    qint64 size() const { return size_; }          ///< bytes
    qint64 position() const { return position_; }  ///< bytes consumed, for progress

    /// Records: reads the next head, when all points of the one before are read; false at the end of the
    /// file. Throws Error with file() and offset() at a damaged place and for more than 2^26 points.
    bool nextHead(RecordHead& head);
    /// Records: reads the next points of the present record, at most `most`; none at its end. Plane points
    /// have z NaN. None either before nextHead, and for `most` below 1. The list is the file's, until the
    /// next call. Throws Error with file() and offset() of the record when the file ends early.
    const std::vector<KvMath::KvPointXYZ>& nextPoints(int most);

    /// Records of plane points: reads those of the present record that are left, x0, y0, x1, y1, ..., at
    /// once: there are no more than 65,535. The list is the file's, until the next call. Throws as nextPoints
    /// does.
    std::vector<float>& nextCoordinates();

    /// Records: calls `visit` with each point of the present record that is left. Throws as nextPoints does.
    template <class Visit>
    void forEachPoint(const Visit& visit) {
        constexpr int kPointsAtOnce = 65'536;
        while (!nextPoints(kPointsAtOnce).empty()) {
            for (const KvMath::KvPointXYZ& point : chunk_)
                visit(point);
        }
    }

    /// Text: reads all of its profiles, once; form() then knows the separator. Throws Error as
    /// readProfileText does.
    TextProfiles readText(const TextOptions& options);

private:
    [[noreturn]] void failAtOffset(qint64 offset, const QString& text) const;
    void readPoints(char* bytes, int count);
    void tellForm();

    QString path_;
    std::shared_ptr<QFile> file_;
    FileForm form_ = FileForm::Csv;
    qint64 size_ = 0;
    qint64 position_ = 0;
    RecordHead head_;
    quint32 pointsLeft_ = 0;
    QByteArray bytes_;                       ///< of the points, as they stand in the file
    std::vector<KvMath::KvPointXYZ> chunk_;  ///< a QList of Qt 5 would allocate each of them
    std::vector<float> coordinates_;
};

/// One profile of a file.
struct LoadedProfile {
    KvMath::KvProfile profile;  ///< without unset points
    QString name;               ///< the path, with "#n" after it for the n-th profile (from 0) of several
    QString stem;               ///< short form for titles and file names
    int unset = 0;              ///< points that were left out
    RecordHead head;            ///< of a record
    float z = 0;                ///< of a record, mm; means something where hasZ()
    QString warning;            ///< of the first profile: what in the file may have been misunderstood

    bool hasZ() const {
        return head.marker == KvMath::kProfileRecord || recordHasZ(head.marker);
    }  ///< z is a scan position
};

/// Throws Error with file() where options for text were given and the file is no text of profiles; `what`
/// says what it is instead: "holds binary records".
KVMEASURE_EXPORT void refuseTextOptions(const TextOptions& options, const QString& path, const char* what);

/// The profiles of a file, one after another. Profiles have at most 1,000,000 points.
///
///     ProfileSource source("part.csv", TextOptions());
///     LoadedProfile loaded;
///     while (source.next(loaded))
///         take(loaded.profile);
class KVMEASURE_EXPORT ProfileSource {
public:
    /// Opens a file, and reads it where it is text. Throws Error as PointFile and readProfileText do, and for
    /// options of text with a file of records.
    ProfileSource(const QString& path, const TextOptions& options);
    /// The same of an open file, from its beginning. `path` is its name in messages.
    ProfileSource(const std::shared_ptr<QFile>& file, const QString& path, const TextOptions& options);
    /// Replaces `loaded` by the next profile; false when there are no more. A record may have no points.
    /// Throws Error with file(): for a damaged record and one whose points lie at different z, with offset();
    /// for a text whose only profile has no point; for too many points.
    bool next(LoadedProfile& loaded);
    FileForm form() const { return file_.form(); }        ///< of the file
    bool isAtEnd() const;                                 ///< no profile follows
    qint64 size() const { return file_.size(); }          ///< bytes of the file
    qint64 position() const { return file_.position(); }  ///< bytes read, all of a text from the beginning on

private:
    void readPlane(LoadedProfile& loaded);
    void readSpace(const RecordHead& head, LoadedProfile& loaded);
    void number(LoadedProfile& loaded, bool isOnly);

    PointFile file_;
    QString stem_;     ///< of its name
    QString warning_;  ///< for the first profile
    std::vector<TextProfile> text_;
    std::vector<float> kept_;  ///< x and height of points that are set
    int index_ = 0;
};

/// The profile of a file with one. Throws Error as ProfileSource does, and when the file has none or several.
KVMEASURE_EXPORT LoadedProfile loadOnlyProfile(const QString& path, const TextOptions& options);

}  // namespace KvMeasure
