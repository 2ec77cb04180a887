// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "shownicon_p.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPixmap>
#include <QUrl>

#include <memory>

namespace {

constexpr qint64 maxBytes = 16 << 20;
constexpr qint64 maxPixels = 16 << 20; // a small file can hold a picture of any size

QString toPath(const QString &location)
{
    if (location.startsWith(QLatin1String("qrc:")))
        return location.mid(3);
    const QUrl url(location);
    return url.isLocalFile() ? url.toLocalFile() : location;
}

/** Returns the bytes of the picture, none when it cannot be reached. */
QByteArray readBytes(const QString &location)
{
    if (location.startsWith(QLatin1String("data:"))) {
        const QString mark = QStringLiteral(";base64,");
        const auto at = location.indexOf(mark);
        return at < 0 ? QByteArray() : QByteArray::fromBase64(location.mid(at + mark.size()).toLatin1());
    }
    const QFileInfo info(toPath(location));
    QFile file(info.filePath());
    // Opening a pipe would wait for somebody who writes to it.
    if (!info.isFile() || info.size() > maxBytes || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

} // namespace

QIcon toIcon(const QString &location)
{
    QByteArray bytes = readBytes(location);
    if (bytes.isEmpty() || bytes.size() > maxBytes)
        return QIcon();
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (qint64(size.width()) * size.height() > maxPixels)
        return QIcon();
    const QImage image = reader.read();
    return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}
