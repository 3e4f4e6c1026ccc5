#pragma once
// A part measured in one call: a profile and a plan give named values.
//
//     PartMeasurement part(readPlan("groove.json"));
//     const MeasuredPart measured = part.measure(profile);
//     if (!measured.isFound())
//         ...measured.reason...
//     for (const Value& value : measured.best.values)
//         ...value.name, value.value, value.unit, value.isValid, value.reason, value.isGood()...

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/measuring.h>
#include <kvmeasure/inspection/near_miss.h>
#include <kvmeasure/inspection/tool_input.h>

#include <memory>
#include <optional>

namespace KvMeasure {

namespace Internal {
class EvaluationOrder;
}

/// How parts are measured.
struct PartSettings {
    std::optional<LineFitting> fitting;  ///< lines as the search leaves them, or fitted anew, with or without
                                         ///< the compensation of free edges; empty: as the template says
    bool takesAll = false;    ///< measures every assignment that meets the constraints, not the best alone
    bool givesReason = true;  ///< says why the template is not found, which may take a second search of up to
                              ///< some hundredths of a second
    bool givesMarks = false;  ///< gives what pictures show beside the values
    /// Runs with simulated noise, from which the uncertainty of each value is taken in place of the
    /// propagated one, 2 to kMostMonteCarloRuns: each draws noise of the profile's own deviation and
    /// correlation onto the heights and measures all anew. A run costs what a profile costs. 0: none.
    int monteCarloRuns = 0;
    quint64 seed = 1;  ///< of that noise, the same for every profile
};

constexpr int kMostMonteCarloRuns = 100'000;  ///< that PartSettings takes

/// One way in which the template fits a profile.
struct Assignment {
    QString label;                    ///< "best" or its number; empty for a plan without a template
    KvMath::TSLinesIndecies indices;  ///< which segment stands for which line of the template
    Evaluation evaluation;            ///< what was measured on it
};

/// What a profile gave.
struct MeasuredPart {
    Segments segments;  ///< mm, as findPieces gives them; the template's constraints judge these
    Segments lines;     ///< mm, as they are measured, one per segment; none where nothing is found
    int found = 0;      ///< assignments that meet the constraints; 0: the template is not found; 1
                        ///< for a plan of tools without a template
    QString reason;     ///< why it is not found; empty where it is, or where no reason is wanted
    QList<Assignment> assignments;  ///< the best, or all of them in the order of the search
    Evaluation best;  ///< of the assignment with the greatest total length of its lines, the first of equals;
                      ///< where the template is not found, what the tools give without it
    KvMath::TSLinesIndecies bestIndices;  ///< of that assignment

    bool isFound() const { return found > 0; }                  ///< the template is in the profile
    bool isGood() const { return isFound() && best.isGood(); }  ///< every value valid and in its tolerance
};

/// Measures one profile after another with a plan: filter steps, template, tools, master. Its own copy of the
/// plan is worked on, so that several threads need an object each. An object costs no more than reading the
/// plan; what is the same for all profiles is worked out when it is made.
class KVMEASURE_EXPORT PartMeasurement {
public:
    /// Takes a copy of the plan, in which planFault() finds nothing.
    explicit PartMeasurement(const InspectionPlan& plan, const PartSettings& settings = {});

    /// Applies the filter steps of the plan, then measures. Coordinates of the profile are mm, all of them
    /// set. An empty profile, and one with fewer segments than the template has lines, does not hold the
    /// template; no profile holds a template without lines, but a plan of tools without a template measures
    /// every profile. Where a filter step cannot be applied nothing is found, and the reason says why. Throws
    /// Error where the search is given up (findAssignments says when); the next call is not affected.
    /// `second` is the profile of another scanner in the same x and z, which regions may be of; empty: there
    /// is none. The template is searched for in the first.
    MeasuredPart measure(const KvMath::KvProfile& profile, const KvMath::KvProfile& second = {});

    /// The two steps of measure(): applies the filter steps in place, throws Error with parameter() "steps"
    /// where one cannot be applied; and measures a profile that they were applied to.
    void prepare(KvMath::KvProfile& profile) const;
    MeasuredPart measurePrepared(const KvMath::KvProfile& profile,
                                 const KvMath::KvProfile& second = {});  ///< measures without filter steps
    /// Measures where it is known which segment of a prepared profile stands for which line of the template,
    /// as on the part that a template is taught on. `found` are the pieces of the profile; without a template
    /// they and the indices are not looked at.
    Evaluation measureAssigned(const KvMath::KvProfile& profile, const ProfilePieces& found,
                               const KvMath::TSLinesIndecies& indices, const KvMath::KvProfile& second = {});
    /// What is measured of a profile that cannot be prepared: nothing, with that reason everywhere.
    MeasuredPart unmeasured(const QString& reason) const;

    /// Why segments do not hold the template, with the nearest assignment.
    NearMiss whyMissing(Segments& segments, const KvMath::KvProfile& profile) const;

    /// The parameters of the plan, or estimated from the profile where it has none.
    KvMath::TSFindTemplateParams search(const KvMath::KvProfile& profile) const;
    const InspectionPlan& plan() const {
        return plan_;
    }  ///< the copy, with the lines that the settings ask for

private:
    MeasuredPart measureOnce(const KvMath::KvProfile& profile, const KvMath::KvProfile& second);
    void simulateNoise(const KvMath::KvProfile& profile, const KvMath::KvProfile& second,
                       MeasuredPart& measured);
    void settle(Evaluation& evaluation) const;
    Evaluation measureTools(const KvMath::KvProfile& profile, const KvMath::KvProfile& second,
                            const QList<FoundLine>& lines);
    Evaluation measureAll(const KvMath::KvProfile& profile, const KvMath::KvProfile& second,
                          const ProfilePieces& found, EdgeLines& lines,
                          const KvMath::TSLinesIndecies& indices);
    QList<FoundLine> foundLines(const Segments& lines, const KvMath::TSLinesIndecies& indices) const;

    InspectionPlan plan_;
    PartSettings settings_;
    std::shared_ptr<const Internal::EvaluationOrder> order_;  ///< copies share it, nothing changes it
    PieceFinder finder_;
    ToolInput input_;
};

}  // namespace KvMeasure
