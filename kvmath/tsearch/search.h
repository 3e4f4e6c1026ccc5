#pragma once
// Assignment of found segments to the lines of a template: depth-first enumeration pruned by a callback.
//
// Assignment: one int per template line. A code v >= 0 is segment v / 2, used as stored (v even) or reversed
// (v odd); a negative code is a line not yet assigned.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>

namespace KvMath {

/// Tables of defaultCheckFunction, linesNumber x linesNumber, row-major: entry [later * linesNumber +
/// earlier] bounds template line `later` against `earlier`; only entries with later > earlier are read. -1.0
/// exactly is no bound, any other value, negative ones included, is one; bounds hold on equality. A null
/// table bounds nothing.
struct DefaultCheckFunctionParams {
    int linesNumber;      ///< template lines; 0 without tables
    double* maxDistance;  ///< mm, from the start of the later line to the end of the earlier one
    double* minDistance;  ///< mm, lower bound of the same distance
    double* maxAngle;     ///< radians in [0, pi], between the directions of both lines
    double* minAngle;     ///< radians, lower bound of the same angle
    int* rotationSign;    ///< sense of turn from the earlier line to the later: +1, -1, 0 either; read only
                          ///< where an angle bound is set
};

/// Finds the next admissible assignment (findBest false) or the best of all that follow (true); false when
/// there is none. Codes are tried in ascending order, template line 0 being the most significant; a segment
/// serves one line at most, in either direction. allowReversed false: only stored directions (even codes).
/// - check(lines, assignment, level, checkData): entries 0 .. level are set; judge the one at `level`
///   against the earlier ones. Null accepts everything.
/// - best(lines, candidate, currentBest, nTemplateLines, bestData): true when the candidate is to replace
///   the current best, which has negative entries while there is none. Null acts as defaultBestFunction.
/// - result null: a new search; the array (new int[nTemplateLines]) is the caller's, also when nothing is
///   found: it then holds -1 (allowReversed) or -2. result from an earlier call: goes on after that
///   assignment; when nothing follows the array stays as given. With findBest it is the current best to be
///   beaten: true, and the array as given, when what follows is admissible but no better.
/// The segments are read by the callbacks alone. An unconstrained template of T lines over N segments has
/// N! / (N - T)! * 2^T assignments.
/// More template lines than segments: false at once. nTemplateLines < 1 or > 65,536: false, null stays null.
/// A given result with a code that names no segment (the last one may still be unassigned): false, left as it
/// is. Two allocations: the result and one scratch block.
KVMATH_EXPORT bool templateSearch(LinePP* lines, int nLines, int nTemplateLines,
                                  bool (*check)(LinePP*, int*, int, void*), void* checkData,
                                  bool (*best)(LinePP*, int*, int*, int, void*), void* bestData,
                                  bool findBest, bool allowReversed, int*& result);

/// Check callback; `params` is a DefaultCheckFunctionParams. The cosine of an angle is limited to [-1, 1], so
/// that parallel lines have one. A segment of length zero has no direction: its angle is NaN and passes every
/// bound. By design a turn of zero counts as -1. A null argument, a code < 0, or a level > 0 outside the
/// tables: false.
KVMATH_EXPORT bool defaultCheckFunction(LinePP* lines, int* assignment, int level, void* params);

/// Best callback: the greater total length of the segments; equal totals keep the current best. The last
/// argument is ignored. Without a current best (a negative code): true; else a candidate with a negative
/// code: false. Null arrays: false.
KVMATH_EXPORT bool defaultBestFunction(LinePP* lines, int* candidate, int* currentBest, int nTemplateLines,
                                       void*);

/// Allocates the five tables (new[]) without any bound. T < 1 or T * T > 2^24: null tables and linesNumber 0.
KVMATH_EXPORT void initDefaultCheckFunctionParams(DefaultCheckFunctionParams& params, int T);

/// Frees the tables. The caller's copy keeps dangling pointers by design: do not use it afterwards.
KVMATH_EXPORT void clearDefaultCheckFunctionParams(DefaultCheckFunctionParams params);

}  // namespace KvMath
