#pragma once
// Results as an AQDEF file (.dfq), which quality systems read.
//
//     AqdefFile file("results.dfq", run);
//     file.add(storedPart(matched, plan), QDateTime::currentDateTime());
//     file.commit();

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/hand_over.h>
#include <kvmeasure/report/results_store.h>

#include <memory>

namespace KvMeasure {

/// A file of K-fields, a line each: the part (plan, station, operator), its characteristics (name, unit,
/// nominal value, limits, decimals) and their values, part by part, with attribute, date and time, and the
/// part's serial number, or its name without one. A missing value has the attribute 255, and its reason is
/// the text of the value. ASCII where all texts are; else UTF-8 with a byte order mark. Lines end with CR LF.
/// Fields that hold less than a text take its beginning, or the end of a profile's name. U is not in it: the
/// format has no field for that of a value.
class KVMEASURE_EXPORT AqdefFile {
public:
    /// Begins the file; throws Error as OutputFile does.
    AqdefFile(const QString& path, const HandedRun& run);
    AqdefFile(const AqdefFile&) = delete;             ///< a file is written by one
    AqdefFile& operator=(const AqdefFile&) = delete;  ///< likewise
    ~AqdefFile();                                     ///< without commit() there is no file

    /// Adds a part, measured at that time. Values are those of the run's characteristics, in their order; a
    /// part with another number of values has none of them, for its reason. Memory does not grow with the
    /// parts. Throws Error where temporary files cannot be written.
    void add(const StoredPart& part, const QDateTime& measured);
    void commit();  ///< gives the file its name, once, as the last call; throws Error as OutputFile does

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

}  // namespace KvMeasure
