#pragma once
// The verdicts on the wheels of a pass by a table of limits.
//
//     PassLimits limits(readWheelLimits("limits.csv"), {}, {});
//     ValueOptions options;
//     options.hasGaugeValues = true;                         // so that their uncertainties are known
//     pass.measureSections(options, [&](const MeasuredSection& section) {
//         limits.take(section, pass.wheelsets().at(section.wheelset - 1).wheels[section.side]);
//     });
//     limits.judgeAll(pass.wheelsets(), true);
//     QJsonObject json = wheelJson(pass, {true, true, true});
//     limits.addTo(json);

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/limits.h>
#include <kvmeasure/wheels/pass.h>

#include <QtCore/QJsonObject>

#include <map>

namespace KvMeasure {

/// Values of a wheel or of several, and the verdicts on them.
struct JudgedWheels {
    QString name;                        ///< e.g. "2 left", "2", "bogie 1"
    std::vector<SectionValue> values;    ///< measured of them
    std::vector<LimitVerdict> verdicts;  ///< on those that have limits
};

/// Collects the values of gauges of each wheel while a pass is measured, and judges them by a table of
/// limits.
class KVMEASURE_EXPORT PassLimits {
public:
    /// `vehicles`, `bogies`: wheelsets of each in order of time, above 0 (not checked), the last number for
    /// all that follow; empty: the train is not grouped into them.
    PassLimits(WheelLimits limits, const QList<int>& vehicles, const QList<int>& bogies)
        : limits_(std::move(limits)), groupings_{{kBogieWords, bogies, {}}, {kVehicleWords, vehicles, {}}} {}

    /// Takes a section that was measured, with its wheel; the verdicts on the values of this wheel. Sections
    /// come in any order, each once; of two of one wheel the later one counts.
    std::vector<LimitVerdict> take(const MeasuredSection& section, const WheelResult& wheel);
    /// Judges all wheelsets, after all sections were measured; distances only where they were, too. To be
    /// called once. The values of wheels whose section was not taken are missing, with a reason.
    void judgeAll(const QList<WheelsetResult>& wheelsets, bool hasDistances);
    /// Adds the values and verdicts of each wheel, wheelset, group and of the train to the result of
    /// wheelJson for the same pass, after judgeAll.
    void addTo(QJsonObject& json) const;
    /// The verdicts as a table, those of the groups and of the train below it.
    QString text() const;
    /// No value is out of its limits, none with limits is missing.
    bool isGood() const;
    /// "good", "OUT" or "NOT MEASURED" of the whole train; empty: no value has limits.
    QString verdict() const;

    /// Left wheel, right wheel and both of each wheelset, after judgeAll().
    const std::vector<JudgedWheels>& wheels() const { return judged_; }
    /// Bogies, then vehicles, with their own values; after judgeAll().
    std::vector<JudgedWheels> groups() const;

private:
    /// Wheelsets of a vehicle or a bogie, from 1.
    struct Group {
        int first = 0, last = 0;
        bool isCutShort = false;  ///< the pass has fewer wheelsets than the group
        JudgedWheels judged;      ///< its own values
        QString verdict;          ///< with those of its wheels and wheelsets
    };
    struct Words {
        const char *one, *many;  ///< in JSON and texts
        const char* key;         ///< of the difference of diameters
    };
    /// All groups of a kind.
    struct Grouping {
        Words words;
        QList<int> axles;
        std::vector<Group> groups;
    };
    static constexpr Words kBogieWords{"bogie", "bogies", "bogieDiameterDifference"};
    static constexpr Words kVehicleWords{"vehicle", "vehicles", "vehicleDiameterDifference"};

    void judgeGroups(const QList<WheelsetResult>& wheelsets, Grouping& grouping);

    WheelLimits limits_;
    std::vector<Grouping> groupings_;
    std::map<int, GaugeValues> taken_;  ///< by twice the number of the wheelset and the side
    std::vector<JudgedWheels> judged_;  ///< left, right and both of each wheelset
};

}  // namespace KvMeasure
