#pragma once
// What a measured value may be, and how that is written.

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// Deviations from a nominal value, or limits without one; both ends are included. mm or degrees.
struct KVMEASURE_EXPORT Tolerance {
    double nominal = 0;      ///< 0 where there is none: lower and upper are then the limits
    double lower = 0;        ///< <= upper, deviation from nominal; -infinity: no limit on this side
    double upper = 0;        ///< deviation from nominal; infinity: no limit on this side
    bool hasNominal = true;  ///< false: two limits, or one

    double least() const { return nominal + lower; }     ///< the least good value
    double greatest() const { return nominal + upper; }  ///< the greatest good value
    QString text() const;    ///< as parseTolerance reads it, e.g. "6 +0.1 -0.2" or "max 6"; to 1e-6
    QString limits() const;  ///< the good values, e.g. "5.8 to 6.1" or "at most 6"; ten digits
};

/// How a value with an uncertainty is judged by its tolerance.
enum class Decision {
    Simple,  ///< good within the limits, whatever the uncertainty (simple acceptance)
    Guarded  ///< good where the limits are at least U away (ISO 14253-1: proven conformity); never good where
             ///< U is not known
};

/// The words of the rules, in their order: "simple", "guarded".
KVMEASURE_EXPORT const QStringList& decisionWords();

/// A tolerance as written.
struct WrittenTolerance {
    Tolerance tolerance;              ///< its nominal value is 0 where the taught part gives it
    bool takesTaughtNominal = false;  ///< the value of the taught part is the nominal value
};

/// Reads a tolerance in one of the forms of toleranceHelp; "±" and the typographic minus are taken as well.
/// Returns nothing, or what is wrong with the text and what to write instead; `written` then means nothing.
/// Refused are empty text, units, and text that could mean two things ("0 -0.2").
KVMEASURE_EXPORT QString parseTolerance(QString text, WrittenTolerance& written);

/// The forms that parseTolerance takes with an example each, for help texts: lines of ASCII, the library's.
KVMEASURE_EXPORT const char* toleranceHelp();

}  // namespace KvMeasure
