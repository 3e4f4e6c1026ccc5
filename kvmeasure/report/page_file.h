#pragma once
// Pages on their way to a file, as HTML or printed as PDF.

#include <kvmeasure/base/output_file.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

/// A page that appears whole under its name, or not at all.
///
///     PageFile file("page.pdf");  // refuses what cannot be written before anything is measured
///     file.write(page.html());
class KVMEASURE_EXPORT PageFile {
public:
    /// HTML or PDF by the ending, in capitals or not. Throws Error for another ending, for PDF where no
    /// browser is installed that prints (see printedPage), and as OutputFile does. Empty: refused, too.
    explicit PageFile(const QString& path);
    /// Writes the page, as HtmlPage::html gives it, and gives the file its name. Once. Throws Error as
    /// printedPage and OutputFile do; an older file then stays.
    void write(const QByteArray& html);

private:
    QString path_;
    OutputFile file_;
};

/// A page as PDF on A4: printed by Chromium without window and network, in a folder of its own that goes
/// afterwards. Takes about a second, and at most two minutes. Throws Error where Chromium is not installed,
/// with what to do instead, where it does not end in time, and where it makes no PDF, with what it said.
KVMEASURE_EXPORT QByteArray printedPage(const QByteArray& html);

}  // namespace KvMeasure
