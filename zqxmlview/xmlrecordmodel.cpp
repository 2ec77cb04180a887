// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecordmodel.h"

#include <zqxml/xmlpacket.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QTimerEvent>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr int turnTime = 5; // ms that a turn of converting or removing takes: less than a frame
constexpr int removedAtOnce = 256; // rows: each may be a range of its own in a sorted view
constexpr int scatteredRanges = 8; // so many take views and proxies longer than one new layout

quint64 toNumber(const ZQKEY_ELEMENT &key)
{
    return quint64(key.hkey) << 32 | key.key;
}

ZQKEY_ELEMENT toKey(quint64 number)
{
    return {static_cast<unsigned int>(number), static_cast<unsigned int>(number >> 32)};
}

QString toText(const ZQKEY_ELEMENT &key)
{
    return QString::number(key.key, 16) + QLatin1Char(':') + QString::number(key.hkey, 16);
}

/** Returns what is kept of a value: what is not shown as it is becomes text. */
QVariant toCell(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<ZQKEY_ELEMENT>())
        return toText(value.value<ZQKEY_ELEMENT>());
    if (value.userType() == QMetaType::QVariantList || value.userType() == QMetaType::QStringList)
        return value.toStringList().join(QLatin1String(", "));
    if (value.userType() == QMetaType::QDateTime)
        return value.toDateTime().toLocalTime();
    return value;
}

bool isNumber(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

} // namespace

XMLRecordModel::XMLRecordModel(QObject *parent)
    : QAbstractTableModel(parent), hasOwnColumns(false), keyField(QStringLiteral("key")), keysAreStale(false),
      firstWaiting(0), isRefreshing(false), isRemoving(false)
{
}

XMLRecordModel::~XMLRecordModel()
{
    dropSource();
}

void XMLRecordModel::dropSource()
{
    if (source) {
        source->disconnect(this);
        source->deleteLater();
        source = nullptr;
    }
}

void XMLRecordModel::setColumns(const QStringList &fields, const QStringList &titles)
{
    clear();
    beginResetModel();
    fieldNames = fields;
    titleTexts = titles;
    hasOwnColumns = !fields.isEmpty();
    endResetModel();
}

QStringList XMLRecordModel::columns() const
{
    return fieldNames;
}

void XMLRecordModel::setKeyField(const QString &field)
{
    clear();
    keyField = field;
}

void XMLRecordModel::ensureColumns(const XMLRecords &records)
{
    if (hasOwnColumns || !rows.empty() || records.isEmpty())
        return;
    const QStringList names = (*records.begin()).fieldNames();
    if (names == fieldNames)
        return;
    beginResetModel();
    fieldNames = names;
    endResetModel();
}

void XMLRecordModel::clear()
{
    beginResetModel();
    dropSource();
    turn.stop();
    reply.reset();
    waiting.clear();
    firstWaiting = 0;
    lateUpdates.clear();
    rows.clear();
    rowsByKey.clear();
    keysAreStale = false;
    isRemoving = false;
    endResetModel();
}

void XMLRecordModel::setRecords(std::unique_ptr<XMLPacket> packet)
{
    clear();
    if (!packet)
        return;
    const XMLRecords records(*packet);
    ensureColumns(records);
    std::vector<QDomNode> elements;
    for (auto record = records.begin(); record != records.end(); ++record)
        elements.push_back(record->element());
    if (elements.empty())
        return;
    beginInsertRows(QModelIndex(), 0, static_cast<int>(elements.size()) - 1);
    reply = std::move(packet);
    waiting = std::move(elements);
    rows.resize(waiting.size());
    endInsertRows();
    turn.start(0, this);
}

XMLRecordModel::Row XMLRecordModel::toRow(const XMLRecord &record) const
{
    Row row{std::make_unique<QVariant[]>(static_cast<std::size_t>(fieldNames.size())), 0, false};
    row.key = toNumber(record.key(keyField));
    for (int column = 0; column < fieldNames.size(); ++column)
        row.cells[static_cast<std::size_t>(column)] = toCell(record.value(fieldNames.at(column)));
    return row;
}

void XMLRecordModel::convert(int row) const
{
    const auto place = static_cast<std::size_t>(row);
    QDomNode element = std::exchange(waiting[place], QDomNode());
    rows[place] = toRow(XMLRecord(element.toElement()));
    element.parentNode().removeChild(element); // which frees it
}

void XMLRecordModel::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != turn.timerId())
        return QAbstractTableModel::timerEvent(event);
    if (isRemoving)
        return removeOldFor(turnTime);
    convertFor(turnTime);
    Q_EMIT progress(reply ? static_cast<int>(firstWaiting) : rowCount(), rowCount(), rowCount());
    if (!reply)
        Q_EMIT loaded(XMLMailbox::Answered);
}

void XMLRecordModel::convertFor(int milliseconds)
{
    QElapsedTimer time;
    time.start();
    for (; firstWaiting < waiting.size() && (milliseconds < 0 || !time.hasExpired(milliseconds)); ++firstWaiting) {
        if (!rows[firstWaiting].cells)
            convert(static_cast<int>(firstWaiting));
        remember(static_cast<int>(firstWaiting));
    }
    if (firstWaiting < waiting.size())
        return;
    turn.stop();
    waiting = {};
    reply.reset();
    merge(std::exchange(lateUpdates, {}));
}

void XMLRecordModel::setPages(XMLPages *pages)
{
    clear();
    load(pages, false);
}

void XMLRecordModel::refresh(XMLPages *pages)
{
    convertFor(-1);
    removeOldFor(-1);
    dropSource(); // also of a refresh that a slot has begun just now
    for (Row &row : rows)
        row.isOld = true;
    load(pages, true);
}

void XMLRecordModel::load(XMLPages *pages, bool refreshes)
{
    if (!pages)
        return;
    source = pages;
    isRefreshing = refreshes;
    connect(pages, &XMLPages::pageReceived, this, &XMLRecordModel::takePage);
    connect(pages, &XMLPages::finished, this, [this] { finish(source->state()); });
    connect(pages, &QObject::destroyed, this, [this] { finish(XMLMailbox::Cancelled); });
}

void XMLRecordModel::takePage()
{
    const int done = source->sourcesDone();
    const int all = source->sources();
    const std::unique_ptr<XMLPacket> page = source->takePage();
    if (page)
        update(XMLRecords(*page));
    Q_EMIT progress(done, all, rowCount());
}

void XMLRecordModel::finish(XMLMailbox::State state)
{
    dropSource();
    if (!isRefreshing || state != XMLMailbox::Answered) {
        Q_EMIT loaded(state);
        return;
    }
    isRemoving = true;
    turn.start(0, this);
    gatherOld();
    removeOldFor(turnTime);
}

void XMLRecordModel::cancel()
{
    if (source)
        finish(XMLMailbox::Cancelled);
}

void XMLRecordModel::update(const XMLRecords &records)
{
    removeOldFor(-1);
    ensureColumns(records);
    std::vector<Row> incoming;
    for (const XMLRecord &record : records)
        incoming.push_back(toRow(record));
    if (reply)
        std::move(incoming.begin(), incoming.end(), std::back_inserter(lateUpdates));
    else
        merge(std::move(incoming));
}

void XMLRecordModel::merge(std::vector<Row> incoming)
{
    std::vector<Row> fresh;
    QHash<quint64, std::size_t> freshByKey;
    for (Row &row : incoming) {
        const int present = rowOf(toKey(row.key));
        if (present >= 0) {
            change(present, std::move(row));
        } else if (row.key != 0 && freshByKey.contains(row.key)) {
            fresh[freshByKey.value(row.key)] = std::move(row);
        } else {
            freshByKey.insert(row.key, fresh.size());
            fresh.push_back(std::move(row));
        }
    }
    append(std::move(fresh));
}

void XMLRecordModel::change(int row, Row incoming)
{
    Row &present = rows[static_cast<std::size_t>(row)];
    const bool isEqual =
        std::equal(incoming.cells.get(), incoming.cells.get() + fieldNames.size(), present.cells.get());
    present = std::move(incoming);
    if (!isEqual)
        Q_EMIT dataChanged(createIndex(row, 0), createIndex(row, columnCount() - 1));
}

void XMLRecordModel::append(std::vector<Row> incoming)
{
    if (incoming.empty())
        return;
    const int first = rowCount();
    beginInsertRows(QModelIndex(), first, first + static_cast<int>(incoming.size()) - 1);
    std::move(incoming.begin(), incoming.end(), std::back_inserter(rows));
    for (int row = first; row < rowCount(); ++row)
        remember(row);
    endInsertRows();
}

void XMLRecordModel::remember(int row) const
{
    const quint64 key = rows[static_cast<std::size_t>(row)].key;
    if (key != 0 && !rowsByKey.contains(key))
        rowsByKey.insert(key, row);
}

void XMLRecordModel::removeRange(std::size_t first, std::size_t end)
{
    beginRemoveRows(QModelIndex(), static_cast<int>(first), static_cast<int>(end) - 1);
    const auto begin = rows.begin();
    rows.erase(begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(end));
    keysAreStale = true;
    endRemoveRows();
}

void XMLRecordModel::rememberAll() const
{
    keysAreStale = false;
    rowsByKey.clear();
    for (int row = 0; row < rowCount(); ++row)
        remember(row);
}

bool XMLRecordModel::remove(const ZQKEY_ELEMENT &key)
{
    convertFor(-1);
    removeOldFor(-1);
    const int row = rowOf(key);
    if (row < 0)
        return false;
    removeRange(static_cast<std::size_t>(row), static_cast<std::size_t>(row) + 1);
    return true;
}

/** Moves the rows that are to be removed to the end if they are scattered. */
void XMLRecordModel::gatherOld()
{
    int ranges = 0;
    for (std::size_t row = 0; row < rows.size(); ++row)
        ranges += rows[row].isOld && (row == 0 || !rows[row - 1].isOld);
    if (ranges < scatteredRanges)
        return;
    Q_EMIT layoutAboutToBeChanged();
    std::vector<Row> gathered;
    gathered.reserve(rows.size());
    std::vector<int> places(rows.size());
    for (const bool old : {false, true}) {
        for (std::size_t row = 0; row < rows.size(); ++row) {
            if (rows[row].isOld == old) {
                places[row] = static_cast<int>(gathered.size());
                gathered.push_back({std::move(rows[row].cells), rows[row].key, old});
            }
        }
    }
    rows = std::move(gathered);
    keysAreStale = true;
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex &index : before)
        after.append(createIndex(places[static_cast<std::size_t>(index.row())], index.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

/** Removes rows for a time, all of them if it is negative, and tells when none is left. */
void XMLRecordModel::removeOldFor(int milliseconds)
{
    if (!isRemoving)
        return;
    QElapsedTimer time;
    time.start();
    std::size_t end = rows.size();
    do {
        while (end > 0 && !rows[end - 1].isOld)
            --end;
        std::size_t first = end;
        while (first > 0 && rows[first - 1].isOld && end - first < removedAtOnce)
            --first;
        if (first < end)
            removeRange(first, end);
        end = first;
        if (!isRemoving) // a slot has begun something else
            return;
    } while (end > 0 && (milliseconds < 0 || !time.hasExpired(milliseconds)));
    if (end > 0)
        return;
    isRemoving = false;
    turn.stop();
    Q_EMIT loaded(XMLMailbox::Answered);
}

int XMLRecordModel::rowOf(const ZQKEY_ELEMENT &key) const
{
    if (keysAreStale)
        rememberAll();
    return rowsByKey.value(toNumber(key), -1);
}

bool XMLRecordModel::isLoading() const
{
    return reply || source || isRemoving;
}

int XMLRecordModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int XMLRecordModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(fieldNames.size());
}

QVariant XMLRecordModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    if (role != Qt::DisplayRole && role != Qt::TextAlignmentRole && role != KeyRole)
        return QVariant();
    const Row &row = rows[static_cast<std::size_t>(index.row())];
    if (!row.cells)
        convert(index.row());
    const QVariant &cell = row.cells[static_cast<std::size_t>(index.column())];
    if (role == Qt::DisplayRole)
        return cell;
    if (role == KeyRole)
        return QVariant::fromValue(toKey(row.key));
    return int((isNumber(cell) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

QVariant XMLRecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return QVariant();
    if (role == FieldRole)
        return fieldNames.at(section);
    return role == Qt::DisplayRole ? titleTexts.value(section, fieldNames.at(section)) : QVariant();
}
