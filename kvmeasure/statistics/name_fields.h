#pragma once
// What the name of a file says of its values: which part, which appraiser, which trial.

#include <kvmeasure/base/global.h>

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace KvMeasure {

/// Fields of names by a pattern, e.g. "part{part}_{appraiser}_{trial}": of "run/part07_Ann_2.csv" part is
/// "07", appraiser "Ann", trial "2". A field takes the text up to the first place where the text after it
/// stands, the last one all that is left, at least one character. {} is passed over. A name counts without
/// its folder, its ending and "#7" of a profile in a file; a pattern with slashes takes as many folders.
class KVMEASURE_EXPORT NamePattern {
public:
    /// Throws Error for a pattern without fields, two fields without text between them, a field that is there
    /// twice or has no end, and names of fields with other characters than letters, digits, - and _.
    explicit NamePattern(const QString& pattern);

    const QStringList& fields() const { return fields_; }  ///< names; empty for {}
    /// The words of the fields in order; none where the name is not of this form.
    QStringList wordsOf(const QString& name) const;

private:
    QStringList fit(const QString& text) const;

    QString pattern_;
    QStringList fields_;
    QStringList texts_;  ///< in front of the first field, between them, and after the last
};

/// Fields of names by a table: its column "file", "profile" or "name", else the first, has the names, the
/// others the fields.
class KVMEASURE_EXPORT NameTable {
public:
    /// Reads the table. Throws Error as readDataTable() does, for a table with one column, and, with line(),
    /// for a name that is there twice.
    explicit NameTable(const QString& path);

    const QStringList& fields() const { return fields_; }  ///< headings of the other columns
    /// The words of the fields in order: of that name, else of the same name without folder and ending. None
    /// for a name that is not in the table.
    QStringList wordsOf(const QString& name) const;

private:
    QStringList fields_;
    QHash<QString, QStringList> words_;  ///< of names, in full and shortened
};

/// The name of a file or profile without folders (all but the last `folders`), ending and number of the
/// profile: "part07" of "run/part07.csv#3".
KVMEASURE_EXPORT QString shortName(const QString& name, int folders = 0);

}  // namespace KvMeasure
