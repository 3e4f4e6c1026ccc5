#pragma once
// The uncertainty of what is measured on the lines of a template.

#include <kvmeasure/inspection/end_slopes_p.h>
#include <kvmeasure/inspection/evaluation_p.h>
#include <kvmeasure/profiles/line_refit.h>

#include <QtCore/QString>

#include <array>
#include <limits>
#include <vector>

namespace KvMeasure::Internal {

/// A standard uncertainty, in the unit of its value.
struct StatedNumber {
    double u = std::numeric_limits<double>::quiet_NaN();  ///< NaN: not known
    double degreesOfFreedom = std::numeric_limits<double>::infinity();
    QString remark;  ///< why it is not known, or why it may mislead; else empty
};

/// The uncertainties of the measurements of a plan on one profile, from the noise about its lines.
///
/// Each fitted line has two inputs, its offset at the mean of its points and its direction, independent of
/// each other; an end that no other line fixes has a third, its place along the line: the edge lies anywhere
/// between two points. Values follow the ends of their lines, and these the inputs: the contributions are
/// added up (JCGM 100, 5.1). The correlation of the noise is taken from all lines together.
class TemplateUncertainty {
public:
    /// The measurements of the plan were taken on `lines`; both are as they were afterwards.
    TemplateUncertainty(const ProfilePieces& found, EdgeLines& lines, const KvMath::TSLinesIndecies& indices,
                        InspectionPlan& plan, const EvaluationOrder& order);

    /// Of one of the numbers of the measurements, in the order of numbersOn().
    StatedNumber of(int number) const;
    /// Of the mean of two of them.
    StatedNumber ofMean(int first, int second) const;

private:
    struct Input {
        double u = 0;  ///< mm or radians; NaN: not known
        double degreesOfFreedom = std::numeric_limits<double>::infinity();
        bool isShort = false;  ///< it rests on few independent points
    };
    /// How an end moves with an input, mm.
    struct Move {
        std::size_t input = 0;
        double x = 0, y = 0;
    };
    /// How an end moves with all its inputs: the two of each of two lines at most. None: not asked for yet.
    struct Moves {
        std::array<Move, 4> of{};
        std::size_t count = 0;

        Moves& add(const Move& move) {
            of[count++] = move;
            return *this;
        }
    };

    void addLineInputs(const ProfilePieces& found, const EdgeLines& lines, const std::vector<int>& segments);
    const Moves& movesOf(const ProfilePieces& found, const EdgeLines& lines, int segment, int end);
    void addContributions(int number, const EndSlopes::Slope& slope, const Moves& moves);
    StatedNumber sumOf(const double* contributions) const;

    QString unknown_;  ///< the remark of all numbers, where nothing is known
    std::vector<Input> inputs_;
    std::vector<std::size_t> firstInput_;      ///< of each piece; 0: none
    std::vector<std::array<Moves, 2>> moves_;  ///< of both ends of each segment
    std::vector<bool> readsAll_;               ///< of each number: its measurement reads all segments
    std::size_t rowLength_ = 0;                ///< at least the number of inputs
    std::vector<double> contributions_;        ///< rows of the numbers, by input, each in its unit
};

}  // namespace KvMeasure::Internal
