#pragma once
// One statement of a text with measurements, taken word by word: "NAME = KIND ... : TOLERANCE".

#include <kvmeasure/inspection/plan.h>

#include <QtCore/QSet>

namespace KvMeasure::Internal {

/// An end of a template line.
struct Place {
    enum End { Unwritten, Start, Finish };

    int line = 0;
    End end = Unwritten;
};

/// Reads its words and adds to the plan. Everything throws Error with parameter() "measure" that quotes the
/// statement where the words are not as they must be.
class Statement {
public:
    /// Takes the statement apart. `taken` holds the names of all results so far, parts of means among them.
    Statement(const QString& text, InspectionPlan& plan, QSet<QString>& taken);

    /// Throws; `reason` says what is wrong and what was expected.
    [[noreturn]] void fail(const QString& reason) const;

    const QString& name() const { return name_; }  ///< as written, or else all words
    bool hasTolerance() const { return hasTolerance_; }
    const QString& tolerance() const { return tolerance_; }  ///< the text after the colon
    InspectionPlan& plan() const { return plan_; }

    bool atEnd() const { return words_.isEmpty(); }
    QString next() const { return words_.value(0); }  ///< the next word, which stays; empty at the end
    bool isLine(const QString& word) const;           ///< a template line, with an end or without
    QString take(const QString& expected);            ///< the next word; `expected` says what it should be
    /// A finite number, with one of the units after it or without.
    double takeNumber(const QString& expected, const QStringList& units = {});
    Place takePlace();  ///< a template line with ".start" or ".end", or without
    int takeLine();     ///< a template line without an end

    void claim(const QList<ValueName>& results);              ///< takes names for results, which must be free
    void add(KvMath::TSMeasurement* measurement);             ///< claims its results; owned by the plan then
    void add(const Mean& mean) { plan_.means.append(mean); }  ///< of results that were claimed

private:
    bool findPlace(const QString& word, Place& place) const;

    QString text_;
    InspectionPlan& plan_;
    QSet<QString>& taken_;
    QString name_;
    QStringList words_;
    bool hasTolerance_ = false;
    QString tolerance_;
};

}  // namespace KvMeasure::Internal
