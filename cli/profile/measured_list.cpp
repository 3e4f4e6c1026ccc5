// Profiles are read one after another, measured by several jobs and written in order. What cannot be read or
// is given up becomes a row. Memory holds the profiles under way, whatever the length of the list.

#include "cli/profile/measured_list.h"

#include "cli/batch.h"
#include "cli/console.h"
#include "cli/ordered_jobs.h"
#include "cli/parameters.h"
#include "cli/profile/measuring_options.h"
#include "cli/profile/text_options.h"
#include "cli/scan/options.h"
#include "cli/stored_parts.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <cmath>
#include <optional>
#include <thread>

namespace KvMeasure {

namespace {

/// A profile on its way, or what follows the last one of a file.
struct ListedProfile {
    LoadedProfile loaded;
    int number = 0;      ///< of the profile in its file
    bool isEnd = false;  ///< the file ends here
    QString name;        ///< of what was not read
    QString damage;      ///< why not; empty: the profile is there
};

struct MeasuredRows {
    QByteArray rows;
    PartRow kind = PartRow::Good;
    std::optional<StoredPart> stored = std::nullopt;  ///< for --store
};

/// Rows that are written to the part when the store has them.
struct HeldRows {
    QByteArray rows;
    PartRow kind = PartRow::Good;
    bool isEnd = false;  ///< the file ends here
};

class ListMeasurer {
public:
    ListMeasurer(const Usage& usage, const Arguments& arguments, const InspectionPlan& plan)
        : arguments_(arguments), scan_(readScanOptions(arguments)), text_(readTextOptions(arguments)),
          part_(plan, withReasons(settingsOf(arguments))),
          report_(MatchReport::Part, part_.plan(), arguments.has("--all"), /*keepValues=*/false,
                  [](const QString&) {}),
          head_(headOf(usage)), batch_(arguments, head_), store_(arguments),
          source_(static_cast<int>(batch_.part().totals().files)) {}

    int run();

private:
    static PartSettings withReasons(PartSettings settings) {
        settings.givesReason = true;
        return settings;
    }
    PartHead headOf(const Usage& usage) const;
    void startThreads(int jobs);
    void readFile(const ListedFile& file);
    void put(ListedProfile read);
    void takeOne();
    MeasuredRows measure(PartMeasurement& part, ListedProfile& read) const;
    void beginStore();
    void write(const HeldRows& held);
    void writeHeld();

    const Arguments& arguments_;
    ScanOptions scan_;
    TextOptions text_;
    PartMeasurement part_;
    MatchReport report_;
    PartHead head_;
    Batch batch_;
    StoredParts store_;
    int source_;                  ///< place of the file in the list
    int record_ = 0;              ///< place of the profile in its file
    std::vector<HeldRows> held_;  ///< what the store has not yet
    int read_ = 0;                ///< profiles, up to the number that starts all jobs
    OrderedJobs<ListedProfile, MeasuredRows> jobs_{
        [this](ListedProfile& read) { return measure(part_, read); }};
};

/// A plan of the same content gives the same digest wherever its file lies.
PartHead ListMeasurer::headOf(const Usage& usage) const {
    PartHead head = report_.partHead();
    InspectionPlan plan = part_.plan();
    if (plan.master)
        plan.master->file.clear();  // its points are stored in the plan then
    head.plan = planDigest(usage, arguments_, {"--template", "--plan", "--master"}, planText(plan));
    return head;
}

/// Called by all jobs, each with a measurement of its own.
MeasuredRows ListMeasurer::measure(PartMeasurement& part, ListedProfile& read) const {
    const auto failure = [this](const QString& name, const QString& reason) {
        return MeasuredRows{batch_.failure(name, reason), PartRow::Failed, unreadPart(name, reason)};
    };
    if (read.isEnd)
        return {};
    if (!read.damage.isEmpty())
        return failure(read.name, read.damage);
    MatchedProfile matched;
    matched.name = withoutMarks(read.loaded.name);
    matched.z = read.loaded.hasZ() ? static_cast<double>(read.loaded.z) : std::nan("");
    if (!std::isnan(scan_.step))
        matched.z = scan_.start + read.number * scan_.step;
    try {
        KvMath::KvProfile none;
        static_cast<MeasuredPart&>(matched) = measureInPlace(part, read.loaded.profile, none);
    } catch (const Error& error) {
        return failure(read.loaded.name, error.text(optionOf));
    }
    const QString rows = report_.partRows(matched, withParameters(read.loaded.warning, optionOf));
    MeasuredRows measured{rows.toUtf8(), matched.isGood() ? PartRow::Good : PartRow::Missed, std::nullopt};
    if (store_.isOpen())
        measured.stored = storedPart(matched, part.plan());
    return measured;
}

void ListMeasurer::takeOne() {
    auto measured = jobs_.take();
    if (measured.error)
        std::rethrow_exception(measured.error);
    HeldRows taken{measured.output->rows, measured.output->kind, measured.input.isEnd};
    if (!store_.isOpen())
        return write(taken);
    if (measured.output->stored) {
        measured.output->stored->source = source_;
        measured.output->stored->record = record_++;
        store_.add(std::move(*measured.output->stored));
    }
    held_.push_back(std::move(taken));
    if (measured.input.isEnd) {
        ++source_;
        record_ = 0;
    }
    if (store_.isDue())
        writeHeld();
}

/// The part never says that a file is done which the store has not.
void ListMeasurer::writeHeld() {
    store_.flush();
    for (const HeldRows& held : held_)
        write(held);
    held_.clear();
}

void ListMeasurer::write(const HeldRows& held) {
    if (!held.isEnd) {
        batch_.part().add(held.rows, held.kind);
        return;
    }
    batch_.part().endFile();
    batch_.show();
}

/// A run that was killed is found again by what its part says of itself, wherever that lies.
void ListMeasurer::beginStore() {
    const QString out = arguments_.text("--out");
    if (!store_.isOpen())
        return;
    if (batch_.part().isComplete()) {
        complain(filledIn("%1: is complete, so that nothing is stored; remove it to measure again", out));
        store_.close();
        return;
    }
    store_.begin(part_.plan(), batch_.part().id(), source_);
}

void ListMeasurer::put(ListedProfile read) {
    if (read_ < kProfilesOfOneJob && ++read_ == kProfilesOfOneJob && !arguments_.has("--jobs"))
        startThreads(static_cast<int>(std::thread::hardware_concurrency()));
    const auto points = static_cast<std::size_t>(read.loaded.profile.points.size());
    jobs_.put(std::move(read), points);
    while (jobs_.isFull())
        takeOne();
}

/// This thread is one of the jobs.
void ListMeasurer::startThreads(int jobs) {
    for (int i = 1; i < jobs; ++i) {
        const auto part = std::make_shared<PartMeasurement>(part_);
        if (!jobs_.addThread([this, part](ListedProfile& read) { return measure(*part, read); }))
            return;
    }
}

void ListMeasurer::readFile(const ListedFile& file) {
    ListedProfile damaged;
    damaged.name = file.path;
    damaged.damage = file.fault;
    int number = 0;
    try {
        if (file.fault.isEmpty()) {
            ProfileSequence source(file.path, text_, scan_);
            for (ListedProfile read; source.next(read.loaded); read = ListedProfile()) {
                read.number = number++;
                put(std::move(read));
            }
            if (number == 0)
                damaged.damage = "holds no profile";
        }
    } catch (const Error& error) {
        damaged.damage = error.text(optionOf);
    }
    if (!damaged.damage.isEmpty())
        put(std::move(damaged));
    ListedProfile end;
    end.isEnd = true;
    put(std::move(end));
}

int ListMeasurer::run() {
    beginStore();
    startThreads(arguments_.integer("--jobs", 1, 1, kMostJobs));
    for (ListedFile file; batch_.next(file);)
        readFile(file);
    while (!jobs_.isEmpty())
        takeOne();
    writeHeld();
    store_.finish();  // first: a part that is complete is not begun again
    return batch_.finish();
}

}  // namespace

int measureList(const Usage& usage, const Arguments& arguments, const InspectionPlan& plan) {
    return ListMeasurer(usage, arguments, plan).run();
}

}  // namespace KvMeasure
