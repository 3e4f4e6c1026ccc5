#pragma once
// Pictures as SVG, PDF and PNG.

#include <kvmeasure/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

/// What a picture can be written as.
enum class PictureFormat { Svg, Pdf, Png };

/// The format by the ending of a file's name, in capitals or not; SVG for a name without ending. Throws
/// Error for any other ending.
KVMEASURE_EXPORT PictureFormat pictureFormatOf(const QString& path);

/// Throws Error where this format cannot be made: PDF and PNG need a module that is installed with the
/// program, where that was built with librsvg.
KVMEASURE_EXPORT void requireFormat(PictureFormat format);

/// A picture of this library in another format. SVG: unchanged. PDF: a page of the same size at 96 pixels an
/// inch, text as text. PNG: one pixel per unit of the SVG. Throws Error, also for what is no SVG, for one
/// without a size or above 32,767 pixels a side or 67 million in all, and where no font is installed.
KVMEASURE_EXPORT QByteArray rendered(const QByteArray& svg, PictureFormat format);

}  // namespace KvMeasure
