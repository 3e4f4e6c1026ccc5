#pragma once
// Results that are handed on while they are measured: --aqdef, --qif and --mqtt.

#include "cli/publishing.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/report/aqdef_file.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/qif_file.h>

#include <functional>
#include <memory>

namespace KvMeasure {

/// These options and --jsonl, for the usage of a command.
std::vector<Option> handOverOptions();

/// What the options ask for. An output that fails is given up, and does not keep the others back.
class HandedResults {
public:
    using Fault = std::function<void(const Error& error)>;

    /// Begins the files and refuses what is read or written elsewhere under their names. `fault` is told of
    /// outputs that are given up. The plan must outlive the object. Throws Error.
    HandedResults(const Arguments& arguments, const InspectionPlan& plan, MatchReport::Form jsonForm,
                  Fault fault);

    bool hasFiles() const { return aqdef_ || qif_; }  ///< reasons of what is not found are wanted
    void begin();                                     ///< connects to the broker
    void add(const MatchedProfile& matched);
    void addUnread(const QString& name, const QString& reason);  ///< a file or a profile that gave no result
    void finish();  ///< completes all outputs, and says what was published

private:
    template <typename Output>
    void attempt(Output& output, const std::function<void()>& work);
    void addToFiles(StoredPart part);

    const Arguments& arguments_;
    const InspectionPlan& plan_;
    Fault fault_;
    MatchReport lines_;
    std::unique_ptr<AqdefFile> aqdef_;
    std::unique_ptr<QifFile> qif_;
    std::unique_ptr<MqttPublisher> mqtt_;
    std::optional<MqttPlace> broker_;
};

}  // namespace KvMeasure
