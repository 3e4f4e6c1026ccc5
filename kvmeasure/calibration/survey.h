#pragma once
// Which steps of a raw record a table can hold.

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/build.h>

#include <QtCore/QList>
#include <QtCore/QStringList>

namespace KvMeasure {

/// Neighbouring steps of a record.
struct StepRange {
    int first = 0;      ///< first step, from 0
    int last = 0;       ///< last step, included
    double zFirst = 0;  ///< z of the first, mm; of an empty range, of the step before it
    double zLast = 0;   ///< z of the last, mm; of an empty range, of the step after it
};

/// The steps of a record against the cells of a table, which hold z from 0 to twice the range.
struct KVMEASURE_EXPORT StepSurvey {
    QList<StepRange> below;   ///< with lines, z below zero
    QList<StepRange> beyond;  ///< with lines, z not below twice the range, or no number
    QList<StepRange> empty;   ///< without lines between steps that have some: no cells from step to step
    double found = 0;         ///< positions of the record
    double outside = 0;       ///< positions of steps below and beyond
    double lowest = 0;        ///< z of the steps below, mm; 0 without any

    /// What a user must know of them, a sentence for each of the three kinds that is there; none: all is
    /// well.
    QStringList sentences(double zRange) const;
    /// More than half of the positions lie in steps that the table cannot hold.
    bool isMostlyOutside() const { return outside > found / 2; }
};

/// z of a step, 0 to 999 (not checked), with the offset, mm: as recorded, or, where the record has the same z
/// in its first two steps, by the distance of the steps.
KVMEASURE_EXPORT double zOf(const RawRecord& record, const TableUnits& units, int step);

/// Compares the steps of a record with the table that this plan gives; to be called before buildTable, which
/// changes the z of the record. A record without any line: nothing is found, all lists are empty.
KVMEASURE_EXPORT StepSurvey surveySteps(const RawRecord& record, const BuildPlan& plan);

}  // namespace KvMeasure
