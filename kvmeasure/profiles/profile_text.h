#pragma once
// Profiles from text: rows of x and height, heights alone, or a profile per row; several below each other.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/column_choice.h>
#include <kvmeasure/profiles/text_lines.h>

#include <kvmath/profile/profile.h>

namespace KvMeasure {

constexpr int kLargestProfile = 1'000'000;  ///< most points of a profile that is read

/// A profile of a text.
struct TextProfile {
    KvMath::KvProfile profile;  ///< mm, without unset points
    int unset = 0;              ///< points that were left out
    float unsetX[2] = {0, 0};   ///< least and greatest x of these, mm, where `hasUnsetX`
    bool hasUnsetX = false;     ///< one of these has an x
    qint64 line = 0;            ///< of its first row, from 1
};

/// Lines that hold no points.
struct PassedOver {
    qint64 from = 0;        ///< the first, from 1
    qint64 to = 0;          ///< the last
    const char* what = "";  ///< what they hold, for a user; the library's
};

/// All of a file, and how it was taken.
struct TextProfiles {
    std::vector<TextProfile> profiles;               ///< at least one
    TextHead head;                                   ///< what stands above the rows
    ColumnChoice choice;                             ///< the columns and their units
    TextEncoding encoding = TextEncoding::EightBit;  ///< of the file
    DecimalMarks marks;                              ///< of the numbers that were taken
    QList<PassedOver> passedOver;                    ///< titles, heading and units first; no comments
    bool countsPoints = false;  ///< x is 0, 1, 2, ... or 1, 2, 3, ...; it may be the number of the point
};

/// Reads a text once, from the device's present place to its end. A blank line, a repeated heading and an x
/// that jumps back begin a further profile. Unset points are left out and counted, so that a profile may have
/// no point. `name` is the file() of errors. Throws Error for a text without a row of numbers, a row that is
/// none, what could be read in two ways, a profile of more than 1,000,000 points, 20,000,000 points in all;
/// with line() where it is one line's.
KVMEASURE_EXPORT TextProfiles readProfileText(QIODevice& device, const QString& name,
                                              const TextOptions& options);

/// The places after the first at which another profile begins, because x jumps back: ascending; the first
/// and the last profile have three points at least. None for points that run to and fro, as those of an
/// outline do, and for fewer than six. All points are set.
KVMEASURE_EXPORT std::vector<int> profileStarts(const QList<KvMath::KvPointXY>& points);

/// Divides each of the profiles at its profileStarts. Its unset points are counted with the first part.
KVMEASURE_EXPORT void splitAtJumps(std::vector<TextProfile>& profiles);

}  // namespace KvMeasure
