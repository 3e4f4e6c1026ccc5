#pragma once
// What a word such as "length" or "shift" means in a statement of measureHelp. A kind is a file in kinds/ and
// a row in kinds/kinds.cpp, as a kind of tool is, too.

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace KvMeasure {

struct ToolKind;

}

namespace KvMeasure::Internal {

class Statement;

/// A kind of statement. Objects hold nothing and live until the process ends.
class MeasurementKind {
public:
    virtual ~MeasurementKind() = default;

    virtual QString word() const = 0;   ///< the kind's name in statements
    virtual QString usage() const = 0;  ///< the word with its parameters, for help texts
    virtual QString help() const = 0;   ///< what is measured, in lines of at most 78 characters
    /// Words in small letters that users may try instead of its own.
    virtual QStringList otherWords() const { return {}; }
    /// Why a tolerance cannot stand after the statement; empty: it can.
    virtual QString whyNoTolerance() const { return {}; }
    /// Takes the words after its own and adds to the plan what they ask for. Leaves words that it cannot
    /// use, which the caller refuses.
    virtual void read(Statement& statement) const = 0;
};

/// All kinds that measure lines of a template, in the order of help texts. The kinds that measure regions are
/// toolKinds().
const std::vector<const MeasurementKind*>& measurementKinds();

/// What a word means. Some words have a meaning for lines of a template and another for regions.
struct KindsOfWord {
    const MeasurementKind* ofLines = nullptr;  ///< null: it measures no lines
    const ToolKind* tool = nullptr;            ///< null: it measures no regions
};

/// The kinds with this word.
KindsOfWord kindsOf(const QString& word);

/// The word of each kind, of lines and of regions.
QStringList kindWords();

/// What users may write for a kind, each with the word of the kind.
QMap<QString, QString> otherKindWords();

/// A row of kinds.cpp. Defined in kind_definition_p.h and made where the class is defined, so that the table
/// needs no more than its name.
template <class Kind>
const MeasurementKind* kindRow();

}  // namespace KvMeasure::Internal
