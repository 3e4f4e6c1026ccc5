#pragma once
// Results as a document of QIF 3.0, the Quality Information Framework in XML.
//
//     QifFile file("results.qif", run);
//     file.add(storedPart(matched, plan), QDateTime::currentDateTime());
//     file.commit();

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/hand_over.h>
#include <kvmeasure/report/results_store.h>

#include <memory>

namespace KvMeasure {

/// A QIF document of measurement results: units, characteristics (definition with limits, nominal value,
/// item), and for each part its measurements with status, time, value and combined uncertainty u, after them
/// the parts with serial number and status. Values are user-defined characteristics of length, angle or area;
/// those without a unit, for which QIF asks for a nominal value and limits, are left out. A missing value has
/// the status INDETERMINATE and its reason as description; a value without tolerance is NOT_ANALYZED.
class KVMEASURE_EXPORT QifFile {
public:
    /// Begins the file; throws Error as OutputFile does.
    QifFile(const QString& path, const HandedRun& run);
    QifFile(const QifFile&) = delete;             ///< a file is written by one
    QifFile& operator=(const QifFile&) = delete;  ///< likewise
    ~QifFile();                                   ///< without commit() there is no file

    /// Adds a part, measured at that time, as AqdefFile::add does. Throws Error where temporary files cannot
    /// be written, and beyond 4,294,967,295 elements with a number, the most that a document can have.
    void add(const StoredPart& part, const QDateTime& measured);
    void commit();  ///< gives the file its name, once, as the last call; throws Error as OutputFile does

    int leftOut() const;  ///< characteristics that are not in the file, because they have no unit

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

}  // namespace KvMeasure
