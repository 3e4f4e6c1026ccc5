#pragma once
// From a profile to the matches of a template, and from a match to measured values.

#include <kvmath/base/global.h>
#include <kvmath/segments/find_params.h>
#include <kvmath/segments/line_types.h>
#include <kvmath/tsearch/lines_indices.h>

#include <QtCore/QList>

#include <memory>

namespace KvMath {

class KvProfile;
class TSMeasurementList;
class TSTemplate;

/// Replaces `lines` by the straight segments of the profile that are longer than params.minLineLength,
/// contour by contour, and `results` by every assignment of them to the template lines that meets all
/// constraints. Always true.
///
/// Order of the results: by segment, then stored before reversed orientation, the first template line
/// weighing most. A segment serves one template line of a result at most. Null template: no results. A
/// template of zero lines: one result that maps every segment in stored orientation. No match: no results.
///
/// Constrain each template line against earlier ones: T lines over N segments have N! / (N - T)! assignments
/// without constraints, times 2^T with params.allowReversed, and all of them are returned.
KVMATH_EXPORT bool findTemplate(const KvProfile& profile, TSTemplate* templ,
                                const TSFindTemplateParams& params, QList<LinePP>& lines,
                                QList<TSLinesIndecies>& results);

/// findTemplate for one profile after another. Its work space, and the elements of the lists that it is
/// given, are used again: while profiles have no more points, pieces and matches than those before, finding
/// allocates nothing, and neither does evalLinesSet on the match. One thread at a time may use an object.
class KVMATH_EXPORT TemplateFinder {
public:
    TemplateFinder();                                           ///< without work space
    ~TemplateFinder();                                          ///< what it found stays the caller's
    TemplateFinder(const TemplateFinder&) = delete;             ///< work space is not copied
    TemplateFinder& operator=(const TemplateFinder&) = delete;  ///< likewise

    /// The same as findTemplate. Keep `lines` and `results` from profile to profile.
    bool find(const KvProfile& profile, TSTemplate* templ, const TSFindTemplateParams& params,
              QList<LinePP>& lines, QList<TSLinesIndecies>& results);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Runs every measurement on the match, in order, also after one has failed, so that all results are fresh.
/// True when all succeeded; an empty list gives true.
KVMATH_EXPORT bool evalLinesSet(QList<LinePP>& lines, TSLinesIndecies& indices,
                                TSMeasurementList& measurements);

}  // namespace KvMath
