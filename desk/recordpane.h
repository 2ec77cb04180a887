// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_RECORDPANE_H
#define DESK_RECORDPANE_H

#include "deskproxy.h"

#include <zqxmlview/xmlrecordmodel.h>

#include <QTableView>

/** A table of records, sorted by a click on a title. */
class RecordPane : public QTableView
{
    Q_OBJECT

public:
    /** Shows the first \a shown of the fields \a fields; the others are known too, see fieldsOfCurrent(). */
    RecordPane(const QString &title, const QStringList &fields, int shown, QWidget *parent = nullptr);

    XMLRecordModel *records() const;
    DeskProxy *proxy() const;

    int currentRow() const; ///< Returns the chosen row; -1 for none.

    /** Returns title and text of each field of the chosen record that has a value. */
    QList<QPair<QString, QString>> fieldsOfCurrent() const;

Q_SIGNALS:
    /** Another record was chosen, or the chosen one has changed. */
    void currentChangedAtAll();

private:
    int widthOf(const QString &field) const;

    XMLRecordModel *const model;
    DeskProxy *const sorted;
};

#endif
