#pragma once
// What nearly every test of kvmeasure uses: GoogleMock, scratch folders, errors of calls, and names without
// their namespaces.

#include <kvmeasure/base/error.h>

#include <tests/support/scratch_directory.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace TestSupport {

/// The error of a call, which has to throw; one without text where it does not.
template <class Call>
KvMeasure::Error errorOf(const Call& call) {
    try {
        call();
    } catch (const KvMeasure::Error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return KvMeasure::Error("");
}

inline std::string textOf(const KvMeasure::Error& error) { return error.text().toStdString(); }
inline std::string textOf(const std::string& text) { return text; }
inline std::string textOf(const QString& text) { return text.toStdString(); }
inline std::string textOf(const QByteArray& text) { return text.toStdString(); }

/// Whether a text of any kind, or that of an error, has a part.
MATCHER_P(Says, part, "") {
    *result_listener << textOf(arg);
    return textOf(arg).find(part) != std::string::npos;
}

/// Whether a call throws an error whose text has a part.
MATCHER_P(Refuses, part, "") {
    return testing::ExplainMatchResult(Says(part), errorOf(arg), result_listener);
}

/// A row of a table of what is refused.
struct Refused {
    QByteArray text;
    const char* reason;
};

}  // namespace TestSupport

/// So GoogleTest shows texts, not their bytes.
inline void PrintTo(const QString& text, std::ostream* out) { *out << text.toStdString(); }

using namespace KvMeasure;
using namespace TestSupport;
using testing::HasSubstr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
