#pragma once
// The pictures and the page of "wheels pass", and the groups of its wheelsets.

#include "cli/arguments.h"

#include <kvmeasure/drawing/wheel_picture.h>
#include <kvmeasure/report/page_file.h>
#include <kvmeasure/report/pass_page.h>
#include <kvmeasure/wheels/pass.h>

#include <optional>

namespace KvMeasure {

/// The picture of a measured wheel, with title, defect and verdicts.
WheelPicture wheelPictureOf(const MeasuredSection& section, const WheelsetResult& wheelset,
                            const std::vector<LimitVerdict>& verdicts);

/// The value of --vehicles or --bogies; empty: it was not given. Throws Error.
QList<int> readAxles(const Arguments& arguments, const char* option);

/// --report of "wheels pass".
Option passReportOption();

/// The page of a pass, where one is asked for.
class PassReport {
public:
    /// Refuses a page that cannot be written, before anything is measured.
    explicit PassReport(const Arguments& arguments);

    /// Takes a section that was measured, with the verdicts on its wheel.
    void add(const MeasuredSection& section, const WheelsetResult& wheelset,
             const std::vector<LimitVerdict>& verdicts);
    /// Writes the page on these results.
    void write(const QJsonObject& results);

private:
    std::optional<PassPage> page_;
    std::optional<PageFile> file_;
};

}  // namespace KvMeasure
