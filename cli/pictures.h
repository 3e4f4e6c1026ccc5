#pragma once
// The pictures of a run. They come beside its result: one that cannot be drawn does not keep the result back.

#include <QtCore/QByteArray>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <functional>

namespace KvMeasure {

using Draw = std::function<QByteArray()>;

/// Draws into the file, as SVG, PDF or PNG by its ending. What prevents it is said on standard error with the
/// name of the file, for the first picture of a run in full and for all others as a number, by
/// sayMissingPictures.
void writePicture(const QString& path, const Draw& draw);

/// Says how many more pictures are missing. True when any is: the program then ends with Refused.
bool sayMissingPictures();

/// Pictures of several profiles or sections, each in a file of its own.
class PictureSeries {
public:
    /// `path` as the user gave it; `taken` are the inputs and other outputs of the command.
    PictureSeries(const QString& path, const QStringList& taken);

    /// Into PATH with "-part" before its suffix; parts of the same name get "-2", "-3" and so on. A file that
    /// is taken counts as a picture that cannot be drawn.
    void write(const QString& part, const Draw& draw);

private:
    QString path_;
    QSet<QString> taken_, given_;
};

}  // namespace KvMeasure
