// Results on their way into a store: collected for a second, or up to a thousand, and added together. A run
// that goes on after it was killed finds its earlier rows, and is refused where they are missing.
#include "cli/stored_parts.h"

#include "cli/batch.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/plan.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace KvMeasure {

namespace {

constexpr std::size_t kPartsAtOnce = 1000;
constexpr std::chrono::seconds kBetween{1};

/// The text under which a plan is stored: of the same content wherever the file of its master lies.
QByteArray storedText(InspectionPlan plan) {
    if (plan.master)
        plan.master->file.clear();  // its points are stored in the plan then
    return planText(plan);
}

/// Options that name what is read beside the operands.
const QStringList kFileOptions{"--settings", "--limits", "--reference"};

/// The text of a file; of a large one, or one that is no text, its SHA-256.
QString contentOf(const QString& path) {
    constexpr qint64 kLongest = 1 << 20;
    QFile file(path);
    openRegularFile(file);
    const QByteArray bytes = file.readAll();
    QString text = QString::fromUtf8(bytes);
    if (bytes.size() <= kLongest && text.toUtf8() == bytes && !bytes.contains('\0'))
        return text;
    return "SHA-256 " +
           QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

}  // namespace

std::vector<Option> storeOptions() {
    return {{"--store", "STORE",
             "add the results to a store, FILE.db or postgresql://..., made where there is none"},
            {"--station", "NAME", "where it was measured, for --store, --aqdef, --qif"},
            {"--operator", "NAME", "who measured, likewise"},
            {"--serial", "NUMBER", "of the part, likewise"}};
}

StoredPart unreadPart(const QString& name, const QString& reason) {
    StoredPart part;
    part.name = withoutMarks(name);
    part.verdict = "NOT READ";
    part.reason = reason;
    return part;
}

StoredParts::StoredParts(const Arguments& arguments) : arguments_(arguments) {
    const bool isOfProfiles = arguments.command() == "match" || arguments.command() == "measure";
    if (!arguments.has("--store") && !arguments.has("--aqdef") && !arguments.has("--qif"))
        arguments.requireWith({"--station", "--operator", "--serial"},
                              isOfProfiles ? "--store, --aqdef or --qif" : "--store");
    if (!arguments.has("--store"))
        return;
    const QString place = arguments.text("--store");
    name_ = storeName(place);
    QStringList others = arguments.operands();
    for (const char* option : {"--template", "--plan", "--master", "--second", "--files-from", "--svg",
                               "--trend", "--report", "--out"})
        others += arguments.texts(option);
    for (const QString& option : kFileOptions)
        others += arguments.texts(option);
    if (!isOnServer(place))
        refuseOverwriting({place}, others);
    store_.emplace(place, ResultsStore::Access::Add);
}

void StoredParts::begin(const InspectionPlan& plan, const QString& list, int done) {
    if (store_)
        begin(plan.name, storedText(plan), list, done);
}

void StoredParts::begin(const QString& planName, const QByteArray& plan, const QString& list, int done) {
    if (!store_)
        return;
    run_ = store_->findRun(list);
    if (done > 0 && (run_ == 0 || store_->sourcesBefore(run_, done) < done))
        throw Error(filledIn("%1: %2 was begun without this store: %3 files would be missing in it; remove "
                             "%2.partial, or leave out --store",
                             name_, arguments_.text("--out"), done))
            .inFile(name_);
    if (run_ != 0)
        return;
    NewRun run;
    run.command = arguments_.command();
    run.version = libraryVersion();
    run.planName = planName;
    run.plan = plan;
    run.station = arguments_.text("--station");
    run.operatorName = arguments_.text("--operator");
    run.list = list;
    run_ = store_->beginRun(run);
}

void StoredParts::add(StoredPart part) {
    if (!store_)
        return;
    part.serial = arguments_.text("--serial");
    part.reason = withParameters(part.reason, optionOf);
    for (Value& value : part.values)
        value.reason = withParameters(value.reason, optionOf);
    parts_.push_back(std::move(part));
}

int StoredParts::forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work) {
    int file = -1;
    return KvMeasure::forEachFile(paths, [&](const QString& path) {
        ++file;
        const std::size_t before = parts_.size();
        try {
            work(path);
        } catch (const Error& error) {
            if (parts_.size() == before)
                add(unreadPart(path, error.text(optionOf)));
            placeFrom(before, file);
            throw;
        }
        placeFrom(before, file);
    });
}

/// Parts from that one on are of this file, in their order.
void StoredParts::placeFrom(std::size_t first, int file) {
    for (std::size_t i = first; i < parts_.size(); ++i) {
        parts_[i].source = file;
        parts_[i].record = static_cast<int>(i - first);
    }
}

bool StoredParts::isDue() const {
    return store_ && !parts_.empty() &&
           (parts_.size() >= kPartsAtOnce || std::chrono::steady_clock::now() - flushed_ >= kBetween);
}

void StoredParts::flush() {
    if (!store_ || parts_.empty())
        return;
    stored_ += store_->addParts(run_, parts_);
    parts_.clear();
    flushed_ = std::chrono::steady_clock::now();
}

void StoredParts::close() {
    store_.reset();
    parts_.clear();
}

void StoredParts::beginWithOptions(const QString& settings) {
    if (!store_)
        return;
    const QStringList withoutEffect{"--store",       "--station",  "--operator", "--serial",
                                    "--json",        "--svg",      "--report",   "--mqtt",
                                    "--no-pictures", "--pictures", "--out",      "--work"};
    QJsonObject options, files;
    for (const QString& name : arguments_.given()) {
        const QString text = arguments_.texts(name).join('\n');
        if (withoutEffect.contains(name))
            continue;
        if (!kFileOptions.contains(name) || !QFileInfo(text).isFile())
            options[name] = text;
        else
            files[name] = contentOf(text);
    }
    if (QFileInfo(settings).isFile())
        files["--settings"] = contentOf(settings);
    const QJsonObject plan{{"command", arguments_.command()}, {"options", options}, {"files", files}};
    begin(QFileInfo(arguments_.text("--limits")).fileName(), QJsonDocument(plan).toJson());
}

int StoredParts::finishWith(int code) {
    try {
        finish("part");
    } catch (const Error& error) {
        complain(error.text(optionOf));
        return Refused;
    }
    return code;
}

void StoredParts::finish(const char* what) {
    if (!store_)
        return;
    flush();
    store_->endRun(run_);
    complain(filledIn("%1: run %2: %3 stored", printable(name_), run_, counted(stored_, what)));
}

}  // namespace KvMeasure
