// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "deskicons.h"

#include "deskagent.h"

#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

namespace {

/** Returns the outline of an icon in a square of 16 by 16. */
QPainterPath outlineOf(int type)
{
    QPainterPath path;
    switch (type) {
    case DeskAgent::REFRESH:
        path.arcMoveTo(2.5, 2.5, 11, 11, 40);
        path.arcTo(2.5, 2.5, 11, 11, 40, 280);
        path.moveTo(12.6, 1.5);
        path.lineTo(12.6, 4.9);
        path.lineTo(9.2, 4.9);
        break;
    case DeskAgent::SHOW_PUBLICATIONS:
        path.addRect(2.5, 3, 5.5, 10);
        path.addRect(8, 3, 5.5, 10);
        break;
    case DeskAgent::START:
        path.addPolygon(QPolygonF({{4, 2.5}, {13, 8}, {4, 13.5}, {4, 2.5}}));
        break;
    case DeskAgent::STOP:
        path.addRect(3.5, 3.5, 9, 9);
        break;
    case DeskAgent::HOLD:
        path.addRect(3.5, 3, 3, 10);
        path.addRect(9.5, 3, 3, 10);
        break;
    case moreIcon:
        path.addPolygon(QPolygonF({{3.5, 4}, {7.5, 8}, {3.5, 12}}));
        path.addPolygon(QPolygonF({{8.5, 4}, {12.5, 8}, {8.5, 12}}));
        break;
    default:
        break;
    }
    return path;
}

QPixmap drawIcon(int type, int size, const QColor &colour)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 16.0, size / 16.0);
    painter.setPen(QPen(colour, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const bool isSolid = type == DeskAgent::START || type == DeskAgent::STOP || type == DeskAgent::HOLD;
    painter.setBrush(isSolid ? QBrush(colour) : QBrush());
    painter.drawPath(outlineOf(type));
    return pixmap;
}

} // namespace

QIcon deskIcon(int type, const QPalette &palette)
{
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64}) {
        icon.addPixmap(drawIcon(type, size, palette.color(QPalette::Active, QPalette::ButtonText)));
        icon.addPixmap(drawIcon(type, size, palette.color(QPalette::Disabled, QPalette::ButtonText)), QIcon::Disabled);
    }
    return icon;
}
