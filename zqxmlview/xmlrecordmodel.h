// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_XMLRECORDMODEL_H
#define ZQXMLVIEW_XMLRECORDMODEL_H

#include <zqxmlkit/xmlpages.h>
#include <zqxmlkit/xmlrecords.h>
#include <zqxmlview/zqxmlview_export.h>

#include <QAbstractTableModel>
#include <QBasicTimer>
#include <QDomNode>
#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

class XMLPacket;

/**
 * A table of records: one row a record, one column a field.
 * \code
 * XMLRecordModel jobs;
 * jobs.setPages(requester.pages(server, action)); // or setRecords(reply->takePacket())
 * view->setModel(&jobs);
 * \endcode
 * Values have their own types, so that a QSortFilterProxyModel sorts numbers as numbers and times as times, and a view
 * writes them as the locale does. Of a reply, the records are converted when they are shown, the rest in short turns of
 * the event loop; their elements are freed then. Pages are shown as they come.
 *
 * Records are told apart by their key. An update changes the row of its key in place, so that selection and scroll
 * position stay.
 */
class ZQXMLVIEW_EXPORT XMLRecordModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /** What data() and headerData() tell beyond the roles of the toolkit. */
    enum Role : int {
        KeyRole = Qt::UserRole, ///< of a row, the record's key, a ZQKEY_ELEMENT; both halves 0 without one
        FieldRole ///< of a column, the name of its field
    };

    /** Makes an empty table. */
    explicit XMLRecordModel(QObject *parent = nullptr);
    ~XMLRecordModel() override;

    /**
     * Shows the fields \a fields, under the titles \a titles or their names; all that the conversion table of the first
     * record has, when \a fields is empty, as at first. Empties the table. A field that a record does not have is an
     * empty cell.
     */
    void setColumns(const QStringList &fields, const QStringList &titles = QStringList());
    QStringList
    columns() const; ///< Returns the names of the fields; none before the first record unless they were set.

    /** Says which field has the key; "key" at first. Empties the table. */
    void setKeyField(const QString &field);

    /** Shows the records of \a reply, which is taken over, in place of those before; null for none. */
    void setRecords(std::unique_ptr<XMLPacket> reply);

    /** Shows the records of \a pages, which is taken over, in place of those before, as they come; null for none. */
    void setPages(XMLPages *pages);

    /**
     * As update() with all records of \a pages, which is taken over. Once the last page has come, rows whose records
     * did not come are removed, in turns of the event loop, and first gathered at the end by a change of layout if they
     * are scattered. What ends early removes nothing.
     */
    void refresh(XMLPages *pages);

    /**
     * Changes the rows that have the keys of \a records, and appends the others, as well as those without a key. While
     * records of a reply are still being converted the update waits. Where a reply had a key twice, the first row
     * counts.
     */
    void update(const XMLRecords &records);

    /** Removes the first row with the key \a key; returns whether there was one. */
    bool remove(const ZQKEY_ELEMENT &key);

    void clear(); ///< Removes all rows, and ends what is being loaded.

    /** Returns the first row that has the key \a key; -1 when there is none, or when it is not converted yet. */
    int rowOf(const ZQKEY_ELEMENT &key) const;

    bool isLoading() const; ///< Returns whether records are still coming or being converted.

    int rowCount(const QModelIndex &parent = QModelIndex()) const override; ///< Returns the number of records.
    int columnCount(const QModelIndex &parent = QModelIndex()) const override; ///< Returns the number of fields.

    /**
     * Returns the field as Qt::DisplayRole: numbers, flags and texts as XMLRecord::value() does, times as local times,
     * keys as "key:hkey" in hexadecimal, arrays as a text with commas. Numbers are aligned to the right. \sa Role
     */
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    /** Returns the title of a column, and its field; row headers are empty. */
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

public Q_SLOTS:
    /** Ends the loading of pages; what has come stays. */
    void cancel();

Q_SIGNALS:
    /** So many outputs or keys of how many have been asked, and this many rows are there. Of a reply, rows count. */
    void progress(int done, int all, int rows);

    /** Nothing is being loaded any more; \a state says how it ended. */
    void loaded(XMLMailbox::State state);

protected:
    void timerEvent(QTimerEvent *event) override; ///< Converts some records.

private:
    using Cells = std::unique_ptr<QVariant[]>;
    struct Q_DECL_HIDDEN Row {
        Cells cells; // null while the record waits to be converted
        quint64 key = 0;
        bool isOld = false; // was there before the refresh and has not come yet
    };

    void load(XMLPages *pages, bool refreshes);
    void dropSource();
    void takePage();
    void finish(XMLMailbox::State state);
    void ensureColumns(const XMLRecords &records);
    Row toRow(const XMLRecord &record) const;
    void convert(int row) const;
    void convertFor(int milliseconds);
    void merge(std::vector<Row> incoming);
    void change(int row, Row incoming);
    void append(std::vector<Row> incoming);
    void remember(int row) const;
    void rememberAll() const;
    void removeRange(std::size_t first, std::size_t end);
    void gatherOld();
    void removeOldFor(int milliseconds);

    QStringList fieldNames;
    QStringList titleTexts;
    bool hasOwnColumns;
    QString keyField;
    mutable std::vector<Row> rows;
    mutable QHash<quint64, int> rowsByKey; // without rows that wait
    mutable bool keysAreStale;

    std::unique_ptr<XMLPacket> reply; // until all its records are converted
    mutable std::vector<QDomNode> waiting; // the elements of its records by row; null once they are converted
    std::size_t firstWaiting;
    std::vector<Row> lateUpdates; // that wait for the reply
    QBasicTimer turn;

    QPointer<XMLPages> source;
    bool isRefreshing;
    bool isRemoving; // what is old after a refresh
};

#endif
