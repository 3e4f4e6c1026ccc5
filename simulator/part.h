#pragma once
// The clean geometry of a part in its own frame: x across, y up, the origin where each shape says.

#include <simulator/profile_simulator.h>

#include <utility>

namespace Simulator {

struct Part {
    std::vector<OutlinePiece> pieces;
    std::vector<TrueValue> values;
    std::vector<std::pair<QString, Vector>> corners;
};

/// Surfaces that go on beyond every scanner end here, mm.
constexpr double kFar = 1e6;

/// The part with these dimensions, every one of them present and legal. A text in `error` and no pieces when
/// they do not fit each other.
Part buildPart(const QString& shape, const QMap<QString, double>& dimensions, QString& error);

}  // namespace Simulator
