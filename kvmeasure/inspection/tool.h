#pragma once
// Tools: what is measured on the points of regions. A kind of tool is one file in inspection/kinds and one
// row of the table there; the description of its settings gives the words, the stored form and the schema.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/tolerance.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

class ToolInput;
class ToolResults;
struct Tool;

/// One setting of a kind of tool. In words it stands after its word, or, without one, in its place.
struct ToolField {
    /// What its value is.
    enum Type {
        Region,          ///< name of a region
        Number,          ///< a number of the unit
        RegionOrNumber,  ///< name of a region, or a number of the unit
        Choice           ///< one of the choices; its number, from 0, is its value
    };

    const char* key;         ///< in documents, e.g. "region"; words of the library's, as all texts here
    const char* word;        ///< in words, e.g. "in"; "": none, the value alone
    Type type;               ///< of the value
    const char* help;        ///< what it is, a few words
    bool isRequired = true;  ///< false: it may be left out
    double absent = std::numeric_limits<double>::quiet_NaN();  ///< value where it is left out; NaN: none
    double least = -1e6;                                       ///< least number that is taken
    double greatest = 1e6;                                     ///< greatest number that is taken
    const char* unit = "mm";   ///< of the number: "mm", "deg", "%" or "" for a count or a ratio
    QStringList choices = {};  ///< of a choice: the words, the first where it is left out
    bool isLine = false;       ///< a line is fitted to the region: its noise is the profile's
};

/// A region that a tool reads.
inline ToolField regionField(const char* key, const char* word, const char* help) {
    return {key, word, ToolField::Region, help};
}

/// A region whose fitted line is read.
inline ToolField lineField(const char* key, const char* word, const char* help) {
    ToolField field = regionField(key, word, help);
    field.isLine = true;
    return field;
}

/// A number that may be left out.
inline ToolField numberField(const char* key, const char* word, const char* help, double absent, double least,
                             double greatest, const char* unit) {
    return {key, word, ToolField::Number, help, /*isRequired=*/false, absent, least, greatest, unit};
}

/// A word to choose from, the first where none is given; after `word` or, without one, alone.
inline ToolField choiceField(const char* key, const char* word, const char* help,
                             const QStringList& choices) {
    ToolField field{key, word, ToolField::Choice, help, /*isRequired=*/false, 0};
    field.choices = choices;
    return field;
}

/// One value that a kind of tool gives.
struct ToolValue {
    const char* ending;  ///< after the name and a point, e.g. "width"; "": the name alone
    const char* unit;    ///< "mm", "deg", "mm2" or ""
    const char* help;    ///< what it is, a few words
};

/// A kind of tool: a row of the table of kinds.
struct ToolKind {
    const char* word;               ///< in words and documents, e.g. "max"
    const char* help;               ///< what it measures, a sentence's worth of words
    std::vector<ToolField> fields;  ///< its settings, in the order of the words
    std::vector<ToolValue> values;  ///< what it gives, at least one, in the order of the tables
    /// Measures the input. What it neither adds nor refuses has no value, and says so. Never throws, whatever
    /// the points are.
    void (*measure)(const Tool& tool, const ToolInput& input, ToolResults& results);
    /// What is wrong with settings that are each right, e.g. two of which one is meant; empty: nothing. Null:
    /// nothing ever is.
    QString (*fault)(const Tool& tool) = nullptr;
};

/// One measurement of a plan.
struct KVMEASURE_EXPORT Tool {
    /// The value of a field.
    struct Setting {
        double number = std::numeric_limits<double>::quiet_NaN();  ///< NaN: none
        QString text;                                              ///< name of a region, word of a choice
    };

    QString name;                    ///< of the values
    const ToolKind* kind = nullptr;  ///< the library's; never null in a plan
    std::vector<Setting> settings;   ///< one per field of the kind

    Tool() = default;                                         ///< without name and kind
    Tool(const QString& toolName, const ToolKind& toolKind);  ///< with all settings as if left out

    double number(const char* key) const;          ///< of a field of the kind; NaN: left out
    int choice(const char* key) const;             ///< number of the choice, from 0
    const QString& region(const char* key) const;  ///< name of the region; empty: left out
    /// Sets a field of the kind from a name, a word or a number. Returns nothing, or why it is not taken:
    /// no number, out of its range, none of the choices.
    QString set(const char* key, const QString& value);

    QString valueName(const ToolValue& value) const;  ///< "NAME.width", or the name alone
    QStringList regions() const;                      ///< names of all regions that it reads, in order
    QStringList lineRegions() const;                  ///< of these, the regions whose fitted line it reads
    QString text() const;   ///< "NAME = KIND ...". (1) parseTool(text()).tool.text() == text()
    QString fault() const;  ///< a field that lacks its value, or what the kind says
};

/// All kinds of tools, in the order of the help. measureHelp() lists the kinds that measure lines, too.
KVMEASURE_EXPORT const std::vector<const ToolKind*>& toolKinds();

/// The kind of that word; null: there is none.
KVMEASURE_EXPORT const ToolKind* findToolKind(const QString& word);

/// A tool in words with the tolerances of its values.
struct WrittenTool {
    Tool tool;                                           ///< complete, each setting in its range
    QList<QPair<QString, WrittenTolerance>> tolerances;  ///< name of the value, its tolerance
};

/// Reads "NAME = KIND ... [: TOLERANCE]", e.g. "top = max in R : 5 +- 0.1". Where the kind has several values
/// the tolerances name them: "box in R : width 5 +- 0.1, height max 3". Throws Error with parameter()
/// "measure" that names what was expected.
KVMEASURE_EXPORT WrittenTool parseTool(const QString& text);

/// A line or a few for each kind, for help texts: its words, what it measures, its values.
KVMEASURE_EXPORT QString toolHelp();

}  // namespace KvMeasure
