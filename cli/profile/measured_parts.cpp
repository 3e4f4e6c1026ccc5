// match and measure: profiles are read here, measured by several jobs, and reported in the order of reading;
// so output does not depend on the number of jobs. An error ends its file, not the run.
#include "cli/profile/measured_parts.h"

#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/ordered_jobs.h"
#include "cli/parameters.h"
#include "cli/pictures.h"
#include "cli/profile/handed_results.h"
#include "cli/profile/measuring_options.h"
#include "cli/profile/options.h"
#include "cli/profile/second_profiles.h"
#include "cli/profile/text_options.h"
#include "cli/scan/options.h"
#include "cli/stored_parts.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/report/match_page.h>
#include <kvmeasure/report/page_file.h>

#include <cmath>
#include <memory>
#include <thread>

namespace KvMeasure {

namespace {

/// What no picture of a profile may be written over.
QStringList otherFiles(const Arguments& arguments) {
    return arguments.operands() + arguments.texts("--second") +
           QStringList{arguments.text("--template"), arguments.text("--plan"),   arguments.text("--master"),
                       arguments.text("--trend"),    arguments.text("--report"), arguments.text("--store"),
                       arguments.text("--aqdef"),    arguments.text("--qif")};
}

/// A profile on its way, or what kept it from being read.
struct ReadProfile {
    LoadedProfile loaded;
    KvMath::KvProfile second;  ///< of the other scanner; empty: there is none
    std::exception_ptr damage;
    int number = 0;       ///< profiles read before it
    int file = 0;         ///< number of the file
    qint64 position = 0;  ///< for the progress
};

using MeasuringJobs = OrderedJobs<ReadProfile, MatchedProfile>;

/// The run over all profiles: read one after another, measured by several jobs, reported in order.
class Matcher {
public:
    Matcher(const Arguments& arguments, const InspectionPlan& plan, MatchReport::Form jsonForm)
        : arguments_(arguments), scan_(readScanOptions(arguments)), text_(readTextOptions(arguments)),
          part_(plan, settingsOf(arguments)),
          report_(reportForm(arguments, jsonForm), part_.plan(), arguments.has("--all"),
                  arguments.has("--trend"), print),
          pictures_(arguments.text("--svg"), otherFiles(arguments)), store_(arguments),
          handed_(arguments, part_.plan(), jsonForm, [this](const Error& error) { giveUp(error); }),
          isJson_(arguments.isJson() || arguments.has("--jsonl")), isDrawn_(arguments.has("--svg")) {
        report_.setWritesLines(arguments.has("--jsonl"));
        report_.setGivesStatistics(arguments.has("--stats"));
        if (!arguments.has("--report"))
            return;
        file_ = std::make_unique<PageFile>(arguments.text("--report"));
        page_ = std::make_unique<MatchPage>(part_.plan(), jsonForm);
        page_->setGivesStatistics(arguments.has("--stats"));
        addFacts(arguments, *page_);
    }

    void run();
    int code() const { return code_; }

private:
    void startThreads(int jobs);
    void readFile(const QString& path, int number, bool isOnly);
    void put(ReadProfile read);
    void takeOne();
    void report(const LoadedProfile& loaded, MeasuringJobs::Result& measured);
    void addToStore(const ReadProfile& read, StoredPart part);
    void storeParts(const std::function<void()>& work);
    void giveUp(const Error& error);
    void finish();
    MatchedProfile measureWith(PartMeasurement& part, ReadProfile& read) const;
    MatchedProfile describe(const LoadedProfile& loaded, int number) const;
    bool explain(const LoadedProfile& loaded, MatchedProfile& matched, NearMiss& near);
    void drawGivenUp(const LoadedProfile& loaded, const Error& error);
    Picture foundPicture(const LoadedProfile& loaded, const MatchedProfile& matched) const;
    Picture missingPicture(const LoadedProfile& loaded, const MatchedProfile& matched,
                           const NearMiss& near) const;
    Picture pictureOf(const LoadedProfile& loaded, const MatchedProfile& matched) const;
    void writePictureOf(const LoadedProfile& loaded, const Picture& picture);

    const Arguments& arguments_;
    ScanOptions scan_;
    TextOptions text_;
    PartMeasurement part_;
    MatchReport report_;
    int code_ = Done;
    int read_ = 0;                    ///< profiles
    int profiles_ = 0;                ///< of these, taken back
    int refusedFile_ = -1;            ///< the last one that an error ended
    QList<KvMath::KvPointXY> spare_;  ///< points that are not needed any more, for those of the next profile
    PictureSeries pictures_;
    std::unique_ptr<PageFile> file_;   ///< of --report
    std::unique_ptr<MatchPage> page_;  ///< what it will hold
    int explained_ = 0;                ///< profiles that do not hold the template
    std::unique_ptr<TerminalProgress> progress_;
    StoredParts store_;
    HandedResults handed_;
    const bool isJson_, isDrawn_;  ///< asked for every profile
    int records_ = 0;              ///< place of that profile in its file
    int storedFile_ = -1;          ///< the file of the last profile that is stored
    SecondProfiles second_{arguments_.texts("--second")};
    MeasuringJobs jobs_{[this](ReadProfile& read) { return measureWith(part_, read); }};
};

/// Called by all jobs, each with a measurement of its own. The profile keeps what the filter steps leave of
/// it.
MatchedProfile Matcher::measureWith(PartMeasurement& part, ReadProfile& read) const {
    if (read.damage)
        return MatchedProfile();
    MeasuredPart measured = measureInPlace(part, read.loaded.profile, read.second);
    MatchedProfile matched = describe(read.loaded, read.number);
    static_cast<MeasuredPart&>(matched) = std::move(measured);
    if (isJson_)
        matched.json = report_.json(matched);
    if (isDrawn_ || page_)
        read.loaded.profile.points += read.second.points;
    return matched;
}

Picture Matcher::pictureOf(const LoadedProfile& loaded, const MatchedProfile& matched) const {
    Picture picture;
    picture.isMissing = matched.found == 0;
    picture.title = loaded.stem;
    const InspectionPlan& plan = part_.plan();
    picture.subtitle = plan.name.isEmpty() && !plan.hasTemplate()
                           ? QString("tools on regions")
                           : filledIn("%1 \"%2\"", plan.hasTemplate() ? "template" : "plan", plan.name);
    picture.subtitle += QString(picture.isMissing ? " not found" : "");
    picture.subtitle += std::isnan(matched.z) ? QString() : filledIn(" at z = %1 mm", matched.z);
    picture.profile = loaded.profile;
    picture.segments = matched.segments;
    picture.evaluation = matched.best;
    return picture;
}

void Matcher::writePictureOf(const LoadedProfile& loaded, const Picture& picture) {
    const auto drawIt = [&] { return drawPicture(picture); };
    const bool isSingle =
        arguments_.operands().size() == 1 && loaded.stem == stemOf(arguments_.operands().first());
    if (isSingle)
        writePicture(arguments_.text("--svg"), drawIt);
    else
        pictures_.write(loaded.stem, drawIt);
}

Picture Matcher::foundPicture(const LoadedProfile& loaded, const MatchedProfile& matched) const {
    Picture picture = pictureOf(loaded, matched);
    const KvMath::TSLinesIndecies& best = matched.bestIndices;
    for (int i = 0; i < best.count(); ++i)
        picture.lines.append({assignedLine(matched.lines, best, i), part_.plan().lineNames.value(i)});
    return picture;
}

/// The lines as the search found them, which its constraints judge.
Picture Matcher::missingPicture(const LoadedProfile& loaded, const MatchedProfile& matched,
                                const NearMiss& near) const {
    Picture picture = pictureOf(loaded, matched);
    for (int i = 0; i < near.indices.count(); ++i)
        picture.lines.append({assignedLine(matched.segments, near.indices, i),
                              part_.plan().lineNames.value(i, QString::number(i))});
    picture.missingLines = near.isNearest ? "nearest lines, refused" : "lines up to the first refused";
    if (!picture.lines.isEmpty())
        picture.reasons.append(near.isNearest ? "Dashed: the nearest assignment. It is refused:"
                                              : "Dashed: how far the search got. The last line is refused:");
    picture.reasons += near.reasons;
    return picture;
}

/// Why the template is not found, where that is shown or drawn; false where it is not.
bool Matcher::explain(const LoadedProfile& loaded, MatchedProfile& matched, NearMiss& near) {
    const bool isPrepared = matched.reason.isEmpty();  // the filter steps could be applied
    const bool isOnPage = page_ && explained_ < MatchPage::kMostPictures;
    if (!isPrepared ||
        !(isDrawn_ || isOnPage || store_.isOpen() || handed_.hasFiles() || report_.showsReason()))
        return false;
    ++explained_;
    near = part_.whyMissing(matched.segments, loaded.profile);
    matched.reason = near.text;
    return true;
}

/// A search that is given up is drawn, too.
void Matcher::drawGivenUp(const LoadedProfile& loaded, const Error& error) {
    if (!isDrawn_)
        return;
    MatchedProfile matched = describe(loaded, profiles_ - 1);
    matched.segments =
        findPieces(loaded.profile, part_.search(loaded.profile), part_.plan().fitting.pieces()).segments;
    NearMiss near;
    near.reasons.append(error.text(optionOf));
    writePictureOf(loaded, missingPicture(loaded, matched, near));
}

/// `number`: of profiles before it, over all files.
MatchedProfile Matcher::describe(const LoadedProfile& loaded, int number) const {
    MatchedProfile matched;
    matched.name = loaded.name;
    matched.z = loaded.hasZ() ? double(loaded.z) : std::nan("");
    if (!std::isnan(scan_.step))
        matched.z = scan_.start + number * scan_.step;
    matched.points = static_cast<int>(loaded.profile.points.size());
    matched.unset = loaded.unset;
    return matched;
}

/// Everything that is said, drawn and reported of one profile.
void Matcher::report(const LoadedProfile& loaded, MeasuringJobs::Result& measured) {
    complainOf(loaded);
    const int number = profiles_++;
    if (measured.error) {
        try {
            std::rethrow_exception(measured.error);
        } catch (const Error& error) {
            drawGivenUp(loaded, error);
            throw error.at(loaded.name);
        }
    }
    MatchedProfile matched = std::move(*measured.output);
    if (!std::isnan(scan_.step) && number != measured.input.number) {  // a refused file has fewer profiles
        matched.z = describe(loaded, number).z;
        matched.json.clear();
    }
    NearMiss near;
    const bool isExplained = matched.isFound() || explain(loaded, matched, near);
    const auto picture = [&] {
        return matched.isFound() ? foundPicture(loaded, matched) : missingPicture(loaded, matched, near);
    };
    if (isDrawn_ && isExplained)
        writePictureOf(loaded, picture());
    if (!matched.isGood())
        code_ = std::max(code_, int(NotMet));
    if (report_.isAboutToWrite())
        progress_->clear();
    report_.add(matched);
    if (store_.isOpen())
        addToStore(measured.input, storedPart(matched, part_.plan()));
    handed_.add(matched);
    if (page_ && arguments_.operands().size() == 1)
        page_->addLine(matched.z, loaded.profile);
    if (page_)
        page_->add(matched, [&] { return drawPicture(picture()); });
}

/// The oldest profile under way. An error ends its file: what was read behind it does not count.
void Matcher::takeOne() {
    MeasuringJobs::Result measured = jobs_.take();
    ReadProfile& read = measured.input;
    if (read.file == refusedFile_)
        return;
    progress_->show(read.position);
    try {
        if (read.damage)
            std::rethrow_exception(read.damage);
        report(read.loaded, measured);
        spare_.swap(read.loaded.profile.points);
    } catch (const Error& error) {
        giveUp(error);
        refusedFile_ = read.file;
        const QString name = read.damage ? arguments_.operand(read.file) : read.loaded.name;
        handed_.addUnread(name, error.text(optionOf));
        if (store_.isOpen())
            addToStore(read, unreadPart(name, error.text(optionOf)));
    }
    if (store_.isDue())
        storeParts([this] { store_.flush(); });
}

void Matcher::addToStore(const ReadProfile& read, StoredPart part) {
    records_ = read.file == storedFile_ ? records_ + 1 : 0;
    storedFile_ = read.file;
    part.source = read.file;
    part.record = records_;
    store_.add(std::move(part));
}

/// What cannot be stored is said, and does not keep the results back.
void Matcher::storeParts(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        giveUp(error);
        store_.close();
    }
}

void Matcher::giveUp(const Error& error) {
    progress_->clear();
    complain(error.text(optionOf));
    code_ = Refused;
}

void Matcher::put(ReadProfile read) {
    read.number = read_;
    if (!read.damage && ++read_ == kProfilesOfOneJob && !arguments_.has("--jobs"))
        startThreads(static_cast<int>(std::thread::hardware_concurrency()));
    const auto points = static_cast<std::size_t>(read.loaded.profile.points.size());
    jobs_.put(std::move(read), points);
    while (jobs_.isFull())
        takeOne();
}

/// This thread is one of the jobs.
void Matcher::startThreads(int jobs) {
    for (int i = 1; i < jobs; ++i) {
        const auto part = std::make_shared<PartMeasurement>(part_);
        if (!jobs_.addThread([this, part](ReadProfile& read) { return measureWith(*part, read); }))
            return;
    }
}

/// `isOnly`: its bytes are shown as progress, else the files.
void Matcher::readFile(const QString& path, int number, bool isOnly) {
    try {
        ProfileSequence source(path, text_, scan_);
        if (isOnly)
            progress_ = std::make_unique<TerminalProgress>(path, source.size());
        while (refusedFile_ != number) {
            ReadProfile read;
            read.loaded.profile.points.swap(spare_);
            if (!source.next(read.loaded))
                break;
            second_.next(text_, scan_, read.second);
            read.file = number;
            read.position = isOnly ? source.position() : number;
            put(std::move(read));
        }
    } catch (const Error&) {
        ReadProfile read;
        read.file = number;
        read.position = number;
        read.damage = std::current_exception();
        put(std::move(read));
    }
}

void Matcher::run() {
    const QStringList& paths = arguments_.operands();
    store_.begin(part_.plan());
    progress_ = std::make_unique<TerminalProgress>("files", paths.size());
    handed_.begin();
    startThreads(arguments_.integer("--jobs", 1, 1, kMostJobs));
    for (int i = 0; i < paths.size(); ++i)
        readFile(paths[i], i, paths.size() == 1);
    while (!jobs_.isEmpty())
        takeOne();
    progress_->clear();
    finish();
}

void Matcher::finish() {
    try {
        second_.finish(text_, scan_);
    } catch (const Error& error) {
        complain(error.text(optionOf));
        code_ = Refused;
    }
    storeParts([this] { store_.finish(); });
    report_.finish();
    handed_.finish();
    if (arguments_.has("--trend"))
        writePicture(arguments_.text("--trend"), [this] { return drawTrend(report_.trend()); });
    if (page_)
        file_->write(page_->html());
}

}  // namespace

int measureParts(const Arguments& arguments, const InspectionPlan& plan, MatchReport::Form jsonForm) {
    Matcher matcher(arguments, plan, jsonForm);
    matcher.run();
    return matcher.code();
}

}  // namespace KvMeasure
