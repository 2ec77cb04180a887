// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "textcolumns.h"

#include "../zqxmltrace/printable_p.h"

#include <algorithm>
#include <iterator>

namespace {

/** Returns how many places of a terminal a character takes. */
int widthOf(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        break;
    }
    static constexpr uint wide[][2] = {{0x1100, 0x115f},   {0x2e80, 0x303e},  {0x3041, 0xa4cf}, {0xac00, 0xd7a3},
                                       {0xf900, 0xfaff},   {0xfe30, 0xfe6f},  {0xff00, 0xff60}, {0xffe0, 0xffe6},
                                       {0x1f300, 0x1faff}, {0x20000, 0x3fffd}};
    return std::any_of(std::begin(wide), std::end(wide),
                       [character](const auto &range) { return character >= range[0] && character <= range[1]; })
        ? 2
        : 1;
}

int widthOf(const QString &text)
{
    int width = 0;
    for (const uint character : text.toUcs4())
        width += widthOf(character);
    return width;
}

} // namespace

TextColumns::TextColumns(std::vector<TextColumn> tableColumns) : columns(std::move(tableColumns)) { }

void TextColumns::add(const QStringList &cells)
{
    QStringList row;
    for (const QString &cell : cells)
        row << printable(cell);
    rows.push_back(row);
}

QByteArray TextColumns::takeText()
{
    if (rows.empty())
        return QByteArray();
    QByteArray text;
    if (widths.empty()) {
        QStringList headings;
        for (const TextColumn &column : columns)
            headings << QLatin1String(column.heading);
        rows.insert(rows.begin(), headings);
        widths.resize(columns.size());
        std::for_each(rows.begin(), rows.end(), [this](const QStringList &cells) { widen(cells); });
    }
    for (const QStringList &cells : rows)
        text += lineOf(cells);
    rows.clear();
    return text;
}

void TextColumns::widen(const QStringList &cells)
{
    std::transform(cells.begin(), cells.end(), widths.begin(), widths.begin(),
                   [](const QString &cell, int width) { return std::max(width, widthOf(cell)); });
}

QByteArray TextColumns::lineOf(const QStringList &cells) const
{
    QString line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const QString &cell = cells.at(static_cast<int>(i));
        const QString blanks(std::max(0, widths[i] - widthOf(cell)), QLatin1Char(' '));
        if (i > 0)
            line += QStringLiteral("  ");
        line += columns[i].right ? blanks + cell : cell + blanks;
    }
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line.toUtf8() + '\n';
}
