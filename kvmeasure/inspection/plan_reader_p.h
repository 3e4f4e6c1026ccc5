#pragma once
// Reads values of a plan's document, and says where one is not as it must be.

#include <kvmeasure/inspection/plan.h>

#include <QtCore/QVariant>

namespace KvMeasure::Internal {

/// One search parameter under the key "search".
struct SearchKey {
    const char* key;
    double KvMath::TSFindTemplateParams::*field;
};

inline constexpr SearchKey kSearchKeys[] = {
    {"contourGap", &KvMath::TSFindTemplateParams::contourGap},
    {"splitTolerance", &KvMath::TSFindTemplateParams::splitTolerance},
    {"minLineLength", &KvMath::TSFindTemplateParams::minLineLength},
    {"cornerTolerance", &KvMath::TSFindTemplateParams::cornerTolerance},
};

/// The program that a document is of, beside the template.
inline constexpr char kOwnVersion[] = "kvmeasure";

/// A whole or real number of JSON; not a text that looks like one.
bool isNumber(const QVariant& value);

/// Values of a document by their keys. What is of another type throws Error with the file and the place.
class PlanReader {
public:
    explicit PlanReader(const QString& path) : path_(path) {}

    const QString& path() const { return path_; }  ///< of the document

    [[noreturn]] void fail(const QString& where, const QString& text) const;
    double number(const QVariantMap& map, const QString& key, const QString& where) const;
    QString text(const QVariantMap& map, const QString& key, const QString& where) const;
    QVariantMap map(const QVariant& value, const QString& where) const;
    QVariantList list(const QVariant& value, const QString& where) const;
    /// Refuses keys that are not known, with a suggestion.
    void refuseOthers(const QVariantMap& map, const QStringList& known, const QString& where) const;

private:
    QString path_;
};

}  // namespace KvMeasure::Internal
