// A page is printed by the browser that shows it, so that both are the same: plots are drawn by its script.
// The browser works in a scratch folder, which is its home, too, and writes nothing elsewhere. It ends with
// this process, and with its own children when its time is over.

#include <kvmeasure/report/page_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/scratch_folder.h>

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace KvMeasure {

namespace {

const char* const kWayOut = "write a page that ends in .html, which any browser prints";

/// In the child: a group of its own, which can be ended as a whole, and an end with its parent.
void partFromParent() {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

class Browser : public QProcess {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
public:
    Browser() { setChildProcessModifier(partFromParent); }
#else
protected:
    void setupChildProcess() override { partFromParent(); }
#endif
};

/// The browser; empty: there is none.
QString browserPath() {
    for (const char* name : {"chromium", "chromium-browser", "google-chrome"}) {
        QString path = QStandardPaths::findExecutable(name);
        if (!path.isEmpty())
            return path;
    }
    return {};
}

QString requiredBrowser() {
    QString path = browserPath();
    if (path.isEmpty())
        throw Error(filledIn("pages are printed as PDF by Chromium, which is not installed (Debian's package "
                             "chromium); install it, or %1",
                             kWayOut));
    return path;
}

bool isPdf(const QString& path) { return path.endsWith(".pdf", Qt::CaseInsensitive); }

/// The name, where a page can be written under it.
QString checkedPath(const QString& path) {
    if (isPdf(path))
        requiredBrowser();
    else if (!path.endsWith(".html", Qt::CaseInsensitive))
        throw Error(filledIn("%1: the name of a page ends in .html or .pdf", path)).inFile(path);
    return path;
}

QStringList optionsOf(const QString& folder, const QString& page, const QString& pdf) {
    QStringList options{"--headless",
                        "--disable-gpu",
                        "--disable-dev-shm-usage",
                        "--disable-background-networking",
                        "--disable-component-update",
                        "--disable-sync",
                        "--disable-extensions",
                        "--disable-crash-reporter",
                        "--no-first-run",
                        "--no-default-browser-check",
                        "--host-resolver-rules=MAP * ~NOTFOUND",
                        "--no-pdf-header-footer",
                        "--user-data-dir=" + folder + "/browser",
                        "--print-to-pdf=" + pdf};
    if (::geteuid() == 0)  // whose sandbox it refuses to make
        options.append("--no-sandbox");
    options.append(QString::fromLatin1(QUrl::fromLocalFile(page).toEncoded()));
    return options;
}

QProcessEnvironment environmentIn(const QString& folder) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        environment.insert(name, folder);
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(name);
    return environment;
}

/// Runs the browser to its end. Throws Error where that does not come in time.
void run(Browser& browser, const QString& program, const QStringList& options) {
    constexpr int kMostMilliseconds = 120'000;
    browser.setProcessChannelMode(QProcess::MergedChannels);
    browser.setStandardInputFile(QProcess::nullDevice());
    browser.start(program, options);
    if (!browser.waitForStarted())
        throw Error(filledIn("the page is not printed: %1: %2; %3", program, browser.errorString(), kWayOut));
    const auto group = static_cast<pid_t>(browser.processId());
    if (browser.waitForFinished(kMostMilliseconds))
        return;
    ::kill(-group, SIGKILL);
    browser.waitForFinished();
    throw Error(filledIn("the page is not printed: %1 did not end within %2 s; %3", program,
                         kMostMilliseconds / 1000, kWayOut));
}

/// The last line of what a program said; empty without one.
QString lastLine(const QByteArray& said) {
    return QString::fromUtf8(said).trimmed().section('\n', -1).trimmed();
}

}  // namespace

PageFile::PageFile(const QString& path) : path_(checkedPath(path)), file_(path) {}

void PageFile::write(const QByteArray& html) {
    file_.write(isPdf(path_) ? printedPage(html) : html);
    file_.commit();
}

QByteArray printedPage(const QByteArray& html) {
    const QString program = requiredBrowser();
    const ScratchFolder folder;
    const QString page = folder.path() + "/page.html", pdf = folder.path() + "/page.pdf";
    writeOutputFile(page, html);
    Browser browser;
    browser.setProcessEnvironment(environmentIn(folder.path()));
    browser.setWorkingDirectory(folder.path());
    run(browser, program, optionsOf(folder.path(), page, pdf));
    QFile file(pdf);
    QByteArray content;
    if (file.open(QIODevice::ReadOnly))
        content = file.readAll();
    if (!content.startsWith("%PDF-") || !content.trimmed().endsWith("%%EOF"))
        throw Error(filledIn("the page is not printed: %1 made no PDF and said \"%2\"; %3", program,
                             lastLine(browser.readAll()), kWayOut));
    return content;
}

}  // namespace KvMeasure
