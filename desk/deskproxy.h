// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKPROXY_H
#define DESK_DESKPROXY_H

#include <recordlib/zqlib.h>

#include <QCollator>
#include <QHash>
#include <QSortFilterProxyModel>

/**
 * The records of a table as people read them: titles in their language, words for states, sorted, and filtered by name.
 * States that were changed at the desk stand in place of those of the records.
 */
class DeskProxy : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit DeskProxy(QObject *parent = nullptr);

    /** Returns the title of the field \a field; an unknown one is its own. */
    static QString titleOf(const QString &field);

    /** Shows only records whose name contains \a text, in any case. */
    void setSearch(const QString &text);

    /** Sets the field \a field of the record \a key to \a value, for the desk alone. */
    void setState(const ZQKEY_ELEMENT &key, const QString &field, int value);

    /** Returns the number in the field \a field of a record, as it is at the desk. */
    int state(int row, const QString &field) const;

    int columnOf(const QString &field) const; ///< Returns the column of the field \a field; -1 for none.
    ZQKEY_ELEMENT keyOf(int row) const; ///< Returns the key of the record in \a row; both halves 0 for none.

    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override;
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override; ///< Page 9 goes before page 10.

private:
    QString fieldOf(int column) const;

    QString search;
    QCollator collator;
    QHash<QString, int> states; // by field and key
};

#endif
