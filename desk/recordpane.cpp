// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordpane.h"

#include <QDateTime>
#include <QHeaderView>
#include <QStyledItemDelegate>

namespace {

bool isName(const QString &field)
{
    return field == QLatin1String("name") || field == QLatin1String("publication");
}

} // namespace

RecordPane::RecordPane(const QString &title, const QStringList &fields, int shown, QWidget *parent)
    : QTableView(parent), model(new XMLRecordModel(this)), sorted(new DeskProxy(this))
{
    model->setColumns(fields);
    sorted->setSourceModel(model);
    setModel(sorted);
    for (int column = shown; column < fields.size(); ++column)
        hideColumn(column);
    setAccessibleName(title);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setSortingEnabled(true);
    sortByColumn(0, Qt::AscendingOrder);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    horizontalHeader()->setHighlightSections(false);
    // A few columns share the room; more are scrolled.
    const bool isNarrow = shown <= 4;
    horizontalHeader()->setStretchLastSection(!isNarrow);
    for (int column = 0; column < shown; ++column) {
        setColumnWidth(column, widthOf(fields.at(column)));
        if (isNarrow && isName(fields.at(column)))
            horizontalHeader()->setSectionResizeMode(column, QHeaderView::Stretch);
    }
    connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this, &RecordPane::currentChangedAtAll);
    connect(sorted, &QAbstractItemModel::dataChanged, this, &RecordPane::currentChangedAtAll);
    connect(sorted, &QAbstractItemModel::rowsRemoved, this, &RecordPane::currentChangedAtAll);
    connect(sorted, &QAbstractItemModel::modelReset, this, &RecordPane::currentChangedAtAll);
}

int RecordPane::widthOf(const QString &field) const
{
    QString sample = DeskProxy::titleOf(field) + QString(3, QLatin1Char('n'));
    if (isName(field))
        sample = QString(21, QLatin1Char('n'));
    else if (field == QLatin1String("arrived"))
        sample = locale().toString(QDateTime(QDate(2026, 10, 20), QTime(20, 50, 50)), QLocale::ShortFormat);
    return fontMetrics().horizontalAdvance(sample) + 2 * fontMetrics().averageCharWidth();
}

XMLRecordModel *RecordPane::records() const
{
    return model;
}

DeskProxy *RecordPane::proxy() const
{
    return sorted;
}

int RecordPane::currentRow() const
{
    return currentIndex().row();
}

QList<QPair<QString, QString>> RecordPane::fieldsOfCurrent() const
{
    QList<QPair<QString, QString>> fields;
    const QStyledItemDelegate delegate;
    for (int column = 0; currentRow() >= 0 && column < sorted->columnCount(); ++column) {
        const QVariant value = sorted->index(currentRow(), column).data();
        if (value.isValid())
            fields.append(
                {sorted->headerData(column, Qt::Horizontal).toString(), delegate.displayText(value, locale())});
    }
    return fields;
}
