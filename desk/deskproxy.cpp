// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "deskproxy.h"

#include <zqxmlview/xmlrecordmodel.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

namespace {

constexpr struct {
    const char *field;
    const char *title;
} titles[] = {
    {"arrived", QT_TRANSLATE_NOOP("DeskProxy", "Arrived")},
    {"balance", QT_TRANSLATE_NOOP("DeskProxy", "Balance in cents")},
    {"bleed", QT_TRANSLATE_NOOP("DeskProxy", "Bleed in mm")},
    {"bytes", QT_TRANSLATE_NOOP("DeskProxy", "Bytes")},
    {"chunks", QT_TRANSLATE_NOOP("DeskProxy", "Begin of parts in bytes")},
    {"copies", QT_TRANSLATE_NOOP("DeskProxy", "Copies")},
    {"coverage", QT_TRANSLATE_NOOP("DeskProxy", "Ink coverage in percent")},
    {"format", QT_TRANSLATE_NOOP("DeskProxy", "Format")},
    {"held", QT_TRANSLATE_NOOP("DeskProxy", "Held")},
    {"id", QT_TRANSLATE_NOOP("DeskProxy", "Number")},
    {"inks", QT_TRANSLATE_NOOP("DeskProxy", "Inks")},
    {"jobs", QT_TRANSLATE_NOOP("DeskProxy", "Jobs")},
    {"key", QT_TRANSLATE_NOOP("DeskProxy", "Key")},
    {"keywords", QT_TRANSLATE_NOOP("DeskProxy", "Keywords")},
    {"name", QT_TRANSLATE_NOOP("DeskProxy", "Name")},
    {"output", QT_TRANSLATE_NOOP("DeskProxy", "Number of the output")},
    {"page", QT_TRANSLATE_NOOP("DeskProxy", "Page")},
    {"pages", QT_TRANSLATE_NOOP("DeskProxy", "Pages")},
    {"paper", QT_TRANSLATE_NOOP("DeskProxy", "Paper")},
    {"priority", QT_TRANSLATE_NOOP("DeskProxy", "Priority")},
    {"publication", QT_TRANSLATE_NOOP("DeskProxy", "Publication")},
    {"publicationID", QT_TRANSLATE_NOOP("DeskProxy", "Number of the publication")},
    {"publicationKey", QT_TRANSLATE_NOOP("DeskProxy", "Key of the publication")},
    {"queue", QT_TRANSLATE_NOOP("DeskProxy", "Queue")},
    {"ranges", QT_TRANSLATE_NOOP("DeskProxy", "Sheets of the parts")},
    {"resolution", QT_TRANSLATE_NOOP("DeskProxy", "Dots an inch")},
    {"rotation", QT_TRANSLATE_NOOP("DeskProxy", "Rotation in degrees")},
    {"scale", QT_TRANSLATE_NOOP("DeskProxy", "Scale")},
    {"signature", QT_TRANSLATE_NOOP("DeskProxy", "Pages of a section")},
    {"speed", QT_TRANSLATE_NOOP("DeskProxy", "Pages a minute")},
    {"spots", QT_TRANSLATE_NOOP("DeskProxy", "Spot colours")},
    {"state", QT_TRANSLATE_NOOP("DeskProxy", "State")},
    {"trimBox", QT_TRANSLATE_NOOP("DeskProxy", "Trim box in mm")},
};

/** The fields that the desk can change. */
const QString stateField = QStringLiteral("state");
const QString heldField = QStringLiteral("held");

QString placeOf(const ZQKEY_ELEMENT &key, const QString &field)
{
    return QStringLiteral("%1 %2:%3").arg(field).arg(key.key, 0, 16).arg(key.hkey, 0, 16);
}

} // namespace

DeskProxy::DeskProxy(QObject *parent) : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
}

QString DeskProxy::titleOf(const QString &field)
{
    for (const auto &each : titles) {
        if (field == QLatin1String(each.field))
            return tr(each.title);
    }
    return field;
}

void DeskProxy::setSearch(const QString &text)
{
    search = text;
    invalidateFilter();
}

bool DeskProxy::filterAcceptsRow(int row, const QModelIndex &) const
{
    return search.isEmpty() || sourceModel()->index(row, 0).data().toString().contains(search, Qt::CaseInsensitive);
}

bool DeskProxy::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const QVariant first = left.data();
    const QVariant second = right.data();
    if (first.userType() == QMetaType::QString && second.userType() == QMetaType::QString)
        return collator.compare(first.toString(), second.toString()) < 0;
    return QSortFilterProxyModel::lessThan(left, right);
}

QString DeskProxy::fieldOf(int column) const
{
    return QSortFilterProxyModel::headerData(column, Qt::Horizontal, XMLRecordModel::FieldRole).toString();
}

int DeskProxy::columnOf(const QString &field) const
{
    for (int column = 0; column < columnCount(); ++column) {
        if (fieldOf(column) == field)
            return column;
    }
    return -1;
}

ZQKEY_ELEMENT DeskProxy::keyOf(int row) const
{
    return index(row, 0).data(XMLRecordModel::KeyRole).value<ZQKEY_ELEMENT>();
}

void DeskProxy::setState(const ZQKEY_ELEMENT &key, const QString &field, int value)
{
    states.insert(placeOf(key, field), value);
    if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

int DeskProxy::state(int row, const QString &field) const
{
    const auto changed = states.constFind(placeOf(keyOf(row), field));
    return changed != states.constEnd() ? *changed : QSortFilterProxyModel::data(index(row, columnOf(field))).toInt();
}

QVariant DeskProxy::data(const QModelIndex &index, int role) const
{
    const QString field = fieldOf(index.column());
    const bool isState = field == stateField || field == heldField;
    if (isState && role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    if (!isState || role != Qt::DisplayRole)
        return QSortFilterProxyModel::data(index, role);
    const bool isOn = state(index.row(), field) == 1;
    if (field == heldField)
        return isOn ? tr("yes") : tr("no");
    return isOn ? tr("running") : tr("stopped");
}

QVariant DeskProxy::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return titleOf(fieldOf(section));
    return QSortFilterProxyModel::headerData(section, orientation, role);
}
