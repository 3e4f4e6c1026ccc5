#pragma once
// Template files: JSON of the library's template document, with the host's own settings beside it.

#include <kvmath/tsearch/find_params.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template.h>

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace KvMeasure {

/// A search over more lines than this costs too much to be started.
constexpr int mostTemplateLines = 1000;

/// What a result may be: nominal + lower to nominal + upper, both included; mm or degrees.
struct Tolerance {
    double nominal = 0, lower = 0, upper = 0;
};

/// The mean of two results of measurements, shown in their place: a distance taken at both ends of a line.
struct Mean {
    QString name, first, second;
};

/// Content of a template file.
struct TemplateFile {
    KvMath::TSTemplate lines{0};
    KvMath::TSMeasurementList measurements;
    KvMath::TSFindTemplateParams search{};
    bool hasSearch = false;  ///< false: the file has no search parameters, estimate them from the profile
    QString name;
    QStringList lineNames;  ///< one per template line; the number where it has no name
    QList<Mean> means;
    QMap<QString, Tolerance> tolerances;  ///< by name of the result
};

/// One value that a measurement delivers: its name and "mm" or "deg".
struct ValueName {
    QString name, unit;
};

/// What a measurement delivers, in the order of its results; a point delivers two.
QList<ValueName> valueNames(KvMath::TSMeasurement& measurement);

/// What all measurements and means deliver, in the order of the tables; parts of means are not shown.
QList<ValueName> valueNames(const TemplateFile& file);

/// Reads a template file of at most 4 MB. Whole numbers count as numbers everywhere: the library takes a
/// bound that is not of type double for unset, and JSON does not tell 3 from 3.0. Throws Failure with line
/// and column, or with the place in the document and what was expected there.
TemplateFile readTemplateFile(const QString& path);

QByteArray templateFileText(const TemplateFile& file);

}  // namespace KvMeasure
