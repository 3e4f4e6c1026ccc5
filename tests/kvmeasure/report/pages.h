#pragma once
// What pages hold: their data, and a name that wants to be executed.

#include <gmock/gmock.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace TestSupport {

constexpr const char* kHostile = "</script><script>alert(1)</script><img src=x onerror=\"a()\">'\n\u4e2d";

/// The JSON that a page holds in this element.
inline QJsonObject dataOf(const QByteArray& page, const char* id) {
    const QByteArray start = QByteArray("<script type=\"application/json\" id=\"") + id + "\">";
    const auto from = page.indexOf(start) + start.size();
    QJsonParseError fault;
    const QJsonObject object =
        QJsonDocument::fromJson(page.mid(from, page.indexOf("</script>", from) - from), &fault).object();
    EXPECT_EQ(fault.error, QJsonParseError::NoError) << id;
    return object;
}

}  // namespace TestSupport
