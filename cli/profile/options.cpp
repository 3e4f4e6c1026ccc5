#include "cli/profile/options.h"

#include "cli/batch.h"
#include "cli/console.h"
#include "cli/parameters.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/match_page.h>

namespace KvMeasure {

void complainOf(const LoadedProfile& loaded) {
    if (!loaded.warning.isEmpty())
        complain(withParameters(loaded.warning, optionOf));
}

void addFacts(const Arguments& arguments, MatchPage& page) {
    const QStringList& files = arguments.operands();
    page.addFact(files.size() == 1 ? "file" : "files",
                 files.size() == 1
                     ? files.first()
                     : filledIn("%1, from %2 to %3", files.size(), files.first(), files.last()));
    for (const char* option :
         {"--template", "--plan", "--second", "--master", "--station", "--operator", "--serial"})
        page.addFact(QString(option).mid(2), arguments.texts(option).join(", "));
    page.addFact("made by", "kvmeasure " + libraryVersion());
}

LoadedProfile takeProfile(const Arguments& arguments) {
    arguments.integer("--record", 0, 0, kLastRecord);  // refused before a file is opened
    ProfileSequence sequence(arguments.operand(0), readTextOptions(arguments), ScanOptions());
    return takeProfile(arguments, [&](LoadedProfile& loaded) { return sequence.next(loaded); });
}

LoadedProfile takeProfile(const Arguments& arguments, const std::function<bool(LoadedProfile&)>& next) {
    const QString path = arguments.operand(0);
    const int record = arguments.integer("--record", 0, 0, kLastRecord);
    LoadedProfile loaded;
    for (int i = 0; i <= record; ++i) {
        if (!next(loaded))
            throw Error(filledIn("%1: has %2 profile(s); there is no --record %3", path, i, record));
        complainOf(loaded);
    }
    if (!arguments.has("--record") && loaded.name != path)
        complain(path + ": holds several profiles; this is the first, choose another with --record N");
    return loaded;
}

std::vector<Option> searchOptions() {
    return {{"--gap", "MM", "point distance that parts contours (estimated)"},
            {"--split", "MM", "deviation that splits a contour into segments (estimated)"},
            {"--passes", "N", "refinement passes, 0 leaves corners on points (3)"},
            {"--min-length", "MM", "shorter segments are dropped (estimated)"},
            {"--corner", "RATIO", "corners farther off than this part of a segment are cut (0.5)"}};
}

void applySearchOptions(const Arguments& arguments, KvMath::TSFindTemplateParams& search) {
    constexpr double kMostMm = 1e6;
    search.contourGap = arguments.number("--gap", search.contourGap, 0, kMostMm);
    search.splitTolerance = arguments.number("--split", search.splitTolerance, 0, kMostMm);
    search.refineIterations = arguments.integer("--passes", search.refineIterations, 0, 1000);
    search.minLineLength = arguments.number("--min-length", search.minLineLength, 0, kMostMm);
    search.cornerTolerance = arguments.number("--corner", search.cornerTolerance, 0, 1e300);
}

QString searchText(const KvMath::TSFindTemplateParams& search) {
    return "\nsearched with " + searchWords(search) + '\n';
}

QString searchWords(const KvMath::TSFindTemplateParams& search) {
    return filledIn("--gap %1 --split %2 --passes %3 --min-length %4 --corner %5", search.contourGap,
                    search.splitTolerance, search.refineIterations, search.minLineLength,
                    search.cornerTolerance);
}

}  // namespace KvMeasure
