#pragma once
// The circumference of a wheel with known waves and flats, as radii over the angle.

#include <QtCore/QString>

#include <cstdint>
#include <vector>

namespace Simulator {

/// A wave round the wheel.
struct Wave {
    int order = 1;         ///< per turn [1 ... 500]
    double amplitude = 0;  ///< mm [0 ... 5]
    double angle = 0;      ///< of a crest, degrees
};

/// A chord in place of the arc.
struct ChordFlat {
    double angle = 0;   ///< of its middle, degrees
    double length = 0;  ///< mm [1 ... 300]
};

/// What a circumference looks like, and how well it is seen. Legal ranges in brackets.
struct CircumferenceRecipe {
    double diameter = 920;  ///< mm [300 ... 1500]
    std::vector<Wave> waves;
    std::vector<ChordFlat> flats;
    int points = 2880;          ///< of a turn [1 ... 1,000,000]
    double from = 0, to = 360;  ///< degrees that are seen [-3600 ... 3600]
    double noise = 0.01;        ///< standard deviation of a radius, mm [0 ... 5]
    double dropouts = 0;        ///< share of the points that are missing [0 ... 0.5]
    std::uint64_t seed = 1;
};

struct RadiusPoint {
    double angle;   ///< degrees
    double radius;  ///< mm
};

/// What is illegal in a recipe; empty where nothing is.
QString problemOf(const CircumferenceRecipe& recipe);

/// How far the chord lies below the circle, in its middle, mm.
double chordDepth(double diameter, double length);

/// The true radius at an angle, mm.
double radiusAt(const CircumferenceRecipe& recipe, double angle);

/// The points of a legal recipe, in ascending angle; the same for the same recipe.
std::vector<RadiusPoint> circumferenceOf(const CircumferenceRecipe& recipe);

}  // namespace Simulator
