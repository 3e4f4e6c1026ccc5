#pragma once
// A train that passes a measuring post: the recordings of its scanners, the settings of the post, the truth.
//
// All scanners are triggered together, every `spacing` mm of travel on average, and write one record for each
// trigger, so records of one number show one moment; a trigger that a scanner misses leaves an empty record.
// The same recipe gives the same files on every run.

#include "simulator/measuring_post.h"

#include <QtCore/QStringList>

#include <cstdint>

namespace Simulator {

struct Wheelset {
    double place = 0;  ///< travel at which its axis stands over the middle of the post, mm
    double backToBack = 1360;
    double shift = 0;      ///< of the wheelset to the left
    WheelShape wheels[2];  ///< left, right
};

enum class RecordKind { WithZ, Plane, Mixed };

/// What passes, and how well it is seen. Legal ranges in brackets; NaN is never legal.
struct PassRecipe {
    int wheelsets = 8;      ///< [1 ... 1000]
    double diameter = 920;  ///< of new wheels, mm [500 ... 1500]
    double turned = 20;     ///< largest loss of diameter [0 ... 100]
    double flangeWear = 3;  ///< largest [0 ... 6]
    double hollow = 2;      ///< largest depth of tread hollowing [0 ... 4]
    int breakouts = 0;      ///< wheels with a breakout in view [0 ... 2 wheelsets]
    int flats = 0;  ///< other wheels with a flat in the measured section [0 ... 2 wheelsets - breakouts]
    double spacing = 20;       ///< travel between triggers, mm [1 ... 100]
    double noise = 0.02;       ///< standard deviation of the ranges, mm [0 ... 1]
    double dropouts = 0.01;    ///< share of points that are missing [0 ... 0.5]
    double lost = 0;           ///< share of triggers that a scanner misses [0 ... 0.2]
    int falseTargets = 0;      ///< short sights of something that is no wheel, for each scanner [0 ... 1000]
    bool isReference = false;  ///< one wheelset of new wheels of `diameter`, 1360 mm from back to back
    RecordKind records = RecordKind::WithZ;
    PostView view;               ///< camera [-150 ... 150]
    bool hasPlaneBacks = false;  ///< flange backs end in an edge, not in the rounding of the flange
    double glints = 0;  ///< share of points that begin a reflection: one to three wrong ranges [0 ... 0.1]
    double uneven = 0;  ///< share by which the travel between triggers changes over some metres [0 ... 0.9]
    bool isBackwards = false;  ///< the train comes from the other end: its last wheelset first, X falling
    std::uint64_t seed = 1;
};

/// The train of a recipe: wheelsets 1800 and 3400 mm apart by turns, drawn between new and worn, in order of
/// their places. A train that runs backwards is seen, and its truth written, in the opposite order.
std::vector<Wheelset> trainOf(const PassRecipe& recipe);

/// What is illegal in a recipe; empty where nothing is.
QString problemOf(const PassRecipe& recipe);

/// Names of all files that simulatePass may write, those of incomplete recordings with them.
QStringList passFiles();

/// Writes pass_SERIAL.bin of every scanner, of a reference wheelset its section reference.csv (lateral
/// position, height), truth.csv and settings.ini into an existing folder, in this order; a recording has
/// another name until it is complete. False and a text in `error` for an illegal recipe and for files that
/// cannot be written. Memory holds one profile.
bool simulatePass(const PassRecipe& recipe, const QString& folder, QString* error);

/// "wheelset,side,flange_height,thickness_from_back,flange_steepness,radius,back_to_back,defect", one line
/// for each wheel; radius is that of the flange tip, and the defect is 1 for a breakout, 2 for a flat.
QByteArray passTruth(const std::vector<Wheelset>& train);

}  // namespace Simulator
