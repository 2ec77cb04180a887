// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "standin/zqstandin.h"

#include "connection_p.h"
#include "database_p.h"
#include "location_p.h"
#include "storewriter_p.h"

#include <QSqlError>
#include <QSqlRecord>
#include <QVariant>

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>

namespace {

/** Numbers that are the same on every platform and with every library; the algorithm is splitmix64. */
class Generator
{
public:
    explicit Generator(quint64 seed) : state(seed) { }

    quint64 next()
    {
        state += 0x9e3779b97f4a7c15u;
        quint64 z = state;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

    unsigned int below(unsigned int limit)
    {
        return static_cast<unsigned int>(next() % limit);
    }

    template <typename Value, std::size_t size>
    const Value &pick(const Value (&values)[size])
    {
        return values[below(size)];
    }

private:
    quint64 state;
};

constexpr const char *things[] = {"Plakat",     "Katalog", "Jahresbericht", "Kochbuch",  "Wanderführer", "Programm",
                                  "Preisliste", "Roman",   "Atlas",         "Anleitung", "Kalender",     "Comic"};
constexpr const char *places[] = {"Süd", "Köln", "Łódź", "Ísland", "Tromsø", "東京", "50% Ost", "Žiar", "Zoë", "Mitte"};
constexpr const char *machines[] = {"Druckmaschine", "Bogenoffset", "Rolle", "Digital", "Proof", "Etiketten"};
constexpr const char *papers[] = {"A3", "A4", "A5", "B2", "Letter", "210x280"};
constexpr const char *formats[] = {"P", "P", "P", "S", "T"};
constexpr const char *inks[] = {"Cyan+Magenta+Yellow+Black", "Black", "Black+Grün 100%", "Black+Gold"};
constexpr const char *covers[] = {"Leinen", "Karton 300 g", "Feinpapier, Lack 50%"};
constexpr const char *keywords[] = {"Küche", "Reise+Natur", "Schule+Technik+Auflage 2", "Kunst"};
constexpr int queues[] = {1, 2, 3, 3, 3, 3, 3, 3, 3, 4};

constexpr unsigned int outputHkey = 0x10;
constexpr unsigned int publicationHkey = 0x20;
constexpr unsigned int jobHkey = 0x30;
constexpr unsigned int bookHkey = 0x40;

quint64 totalOf(const ZQSTORESIZE &size)
{
    return static_cast<quint64>(size.outputs) + size.publications + size.jobs + size.books;
}

/** Calls back now and then with how much is written. */
class Counter
{
public:
    Counter(const ZQPROGRESS &callback, quint64 rows) : progress(callback), total(rows) { }

    void count()
    {
        if (++written % 4096 == 0 && progress)
            progress(written, total);
    }

private:
    const ZQPROGRESS &progress;
    const quint64 total;
    quint64 written = 0;
};

/** Writes generated records. */
class RecordWriter
{
public:
    RecordWriter(StoreWriter &storeWriter, const ZQSTORESIZE &storeSize, const ZQPROGRESS &progress)
        : writer(storeWriter), size(storeSize), counter(progress, totalOf(storeSize)), random(size.seed),
          firstPublication(size.outputs + 1ull), firstJob(firstPublication + size.publications),
          firstBook(firstJob + size.jobs)
    {
    }

    bool write()
    {
        return writeOutputs() && writePublications() && writeJobs() && writeBooks();
    }

private:
    void begin(quint64 id, unsigned int hkey, const QByteArray &name)
    {
        // The factor is odd, so no two ids below 2^32 share a key.
        add(id, static_cast<quint32>(id * 2654435761u), hkey);
        writer.addText(name);
    }

    bool end()
    {
        counter.count();
        return writer.endRow();
    }

    template <typename... Number>
    void add(Number... numbers)
    {
        (writer.addNumber(static_cast<qint64>(numbers)), ...);
    }

    // What is drawn is drawn one by one: the order in which a call's arguments are made is the compiler's choice.
    template <std::size_t count>
    QByteArray makeName(const char *const (&words)[count], quint64 index)
    {
        const QByteArray word = random.pick(words);
        const QByteArray place = random.pick(places);
        return word + ' ' + place + ' ' + QByteArray::number(index + 1);
    }

    bool writeOutputs()
    {
        bool ok = writer.beginTable(storeTables[0]);
        for (quint64 i = 0; ok && i < size.outputs; ++i) {
            begin(1 + i, outputHkey, makeName(machines, i));
            add(random.below(8) != 0 ? 1 : 0);
            add(20 + random.below(200));
            add(600 * (1 + random.below(4)));
            ok = end();
        }
        return ok;
    }

    bool writePublications()
    {
        bool ok = writer.beginTable(storeTables[1]);
        for (quint64 i = 0; ok && i < size.publications; ++i) {
            begin(firstPublication + i, publicationHkey, makeName(things, i));
            ok = end();
        }
        return ok;
    }

    bool writeJobs()
    {
        bool ok = writer.beginTable(storeTables[2]);
        for (quint64 i = 0; ok && i < size.jobs; ++i) {
            writeJob(i);
            ok = end();
        }
        return ok;
    }

    void writeJob(quint64 i)
    {
        const Place place = placeOf(i);
        begin(firstJob + i, jobHkey, place.page > 0 ? "Seite " + QByteArray::number(place.page) : makeName(things, i));
        if (place.page > 0)
            add(place.publication);
        else
            writer.addNull();
        add(place.page);
        add(random.pick(queues));
        add(place.output);
        add(1772409600 + (i ^ 0x155) * 7 + random.below(7)); // neighbours arrive in an order that is not that of ids
        add(10 * random.below(20));
        add(1 + random.below(120));
        add(20000 + random.next() % 90000000);
        writer.addText(random.pick(papers));
        writer.addText(random.pick(formats));
        writer.addText(random.pick(inks));
        writer.addText(QByteArray::number(random.next(), 16));
    }

    bool writeBooks()
    {
        bool ok = writer.beginTable(storeTables[3]);
        for (quint64 i = 0; ok && i < size.books; ++i) {
            begin(firstBook + i, bookHkey, makeName(things, i));
            add(firstPublication + i % size.publications);
            add(4 + 4 * random.below(40));
            add(8 << random.below(3));
            add(100 * (1 + random.below(1000)));
            add(1000ll * random.below(900) - 50000);
            writer.addText(random.pick(covers));
            writer.addText(random.pick(keywords));
            ok = end();
        }
        return ok;
    }

    struct Place {
        quint64 publication;
        quint64 page; ///< 0 for a stand-alone job
        quint64 output;
    };

    /**
     * Jobs come in groups of 32: three groups of pages, all of one publication at one output each, then one of jobs
     * that stand alone. The factor is odd, so that the pages of a group arrive all, but out of order.
     */
    Place placeOf(quint64 index) const
    {
        const quint64 group = index / 32;
        const quint64 within = index % 32;
        const quint64 output = 1 + (group * 7 + size.seed % size.outputs) % size.outputs;
        if (size.publications == 0 || group % 4 == 3)
            return {0, 0, 1 + (output + within) % size.outputs};
        const quint64 nth = group / 4 * 3 + group % 4;
        return {firstPublication + nth % size.publications,
                nth / size.publications * 32 + (within * 13 + group) % 32 + 1, output};
    }

    StoreWriter &writer;
    const ZQSTORESIZE &size;
    Counter counter;
    Generator random;
    const quint64 firstPublication;
    const quint64 firstJob;
    const quint64 firstBook;
};

/** Makes the store \a place with what \a fill writes; the reason in \a error when that fails. */
template <typename Fill>
bool makeStore(const QString &place, ZQEXISTING existing, QString *error, Fill fill)
{
    const auto location = Location::read(place, error);
    if (!location)
        return false;
    const std::unique_ptr<StoreWriter> writer = StoreWriter::make(*location, existing, error);
    return writer && ((writer->begin() && fill(*writer) && writer->commit()) || fail(error, writer->error()));
}

/** Calls \a take with each row that \a statement gives, as long as it wants more. */
template <typename Call>
bool ask(const Database &database, const QString &statement, Call take, QString *error)
{
    QSqlQuery query(database.handle);
    query.setForwardOnly(true);
    query.exec(statement);
    bool more = true;
    while (more && query.next())
        more = take(query);
    return !query.lastError().isValid() || fail(error, reasonOf(query.lastError()));
}

/** Counts the records of \a database. */
bool count(const Database &database, ZQSTORESIZE &size, QString *error)
{
    unsigned int *const numbers[] = {&size.outputs, &size.publications, &size.jobs, &size.books};
    for (std::size_t i = 0; i < std::size(storeTables); ++i) {
        const auto take = [&](const QSqlQuery &row) {
            *numbers[i] = row.value(0).toUInt();
            return true;
        };
        const QString statement = QStringLiteral("SELECT count(*) FROM ") + QLatin1String(storeTables[i].name);
        if (!ask(database, statement, take, error))
            return false;
    }
    return true;
}

/** Returns false for what no store holds, but a file may. */
bool copyValue(const QVariant &value, StoreWriter &writer)
{
    const int type = value.userType();
    if (value.isNull())
        writer.addNull();
    else if (type == QMetaType::QString)
        writer.addText(value.toString().toUtf8());
    else if (type == QMetaType::Int || type == QMetaType::LongLong || type == QMetaType::ULongLong)
        writer.addNumber(value.toLongLong());
    else
        return false;
    return true;
}

/** Copies a table; false with the reason in \a error when it cannot be read, without one when it cannot be written. */
bool copyTable(const Database &source, const Table &table, StoreWriter &writer, Counter &counter, QString *error)
{
    bool ok = writer.beginTable(table);
    const auto copyRow = [&](const QSqlQuery &row) {
        for (int column = 0; ok && column < table.count; ++column) {
            ok = copyValue(row.value(column), writer)
                || fail(error,
                        QStringLiteral("neither text nor a whole number: %1 in %2, id %3")
                            .arg(row.record().fieldName(column), QLatin1String(table.name), row.value(0).toString()));
        }
        counter.count();
        ok = ok && writer.endRow();
        return ok;
    };
    return ask(source,
               QStringLiteral("SELECT %1 FROM %2 ORDER BY id")
                   .arg(QLatin1String(table.columns), QLatin1String(table.name)),
               copyRow, error)
        && ok;
}

/** Opens a store to read it as a whole, in one snapshot. */
std::unique_ptr<ZQCONNECTION> openWhole(const QString &place, QString *error)
{
    const auto location = Location::read(place, error);
    if (!location)
        return nullptr;
    auto connection = std::make_unique<ZQCONNECTION>(ZQPublicName(place), *location);
    connection->use = Location::Reading;
    connection->held = true;
    return connection->open(error) && connection->begin(error) ? std::move(connection) : nullptr;
}

} // namespace

bool ZQCreateStore(const QString &location, const ZQSTORESIZE &size, const ZQPROGRESS &progress, QString *error,
                   ZQEXISTING existing)
{
    if (size.jobs > 0 && size.outputs == 0)
        return fail(error, QStringLiteral("jobs need an output"));
    if (size.books > 0 && size.publications == 0)
        return fail(error, QStringLiteral("books need a publication"));
    if (totalOf(size) > static_cast<quint64>(std::numeric_limits<int>::max()))
        return fail(error, QStringLiteral("more records than there are ids"));
    return makeStore(location, existing, error,
                     [&](StoreWriter &writer) { return RecordWriter(writer, size, progress).write(); });
}

bool ZQCreateSampleStore(const QString &location, QString *error, ZQEXISTING existing)
{
    return makeStore(location, existing, error,
                     [](StoreWriter &writer) { return writer.executeScript(QStringLiteral("sample.sql")); });
}

bool ZQCopyStore(const QString &from, const QString &to, const ZQPROGRESS &progress, QString *error,
                 ZQEXISTING existing)
{
    QString unreadable;
    const std::unique_ptr<ZQCONNECTION> source = openWhole(from, &unreadable);
    ZQSTORESIZE size;
    bool ok = source && count(source->session->database, size, &unreadable);
    Counter counter(progress, totalOf(size));
    const auto copyTables = [&](StoreWriter &writer) {
        const bool read = std::all_of(std::begin(storeTables), std::end(storeTables), [&](const Table &table) {
            return copyTable(source->session->database, table, writer, counter, &unreadable);
        });
        unreadable = source->end(unreadable);
        return read && unreadable.isEmpty();
    };
    ok = ok && makeStore(to, existing, error, copyTables);
    if (unreadable.isEmpty())
        return ok;
    return fail(error, QStringLiteral("cannot read %1: %2").arg(ZQPublicName(from), unreadable));
}

bool ZQCheckStore(const QString &location, ZQFINDINGS &findings, QString *error)
{
    const std::unique_ptr<ZQCONNECTION> connection = openWhole(location, error);
    if (!connection)
        return false;
    const Database &database = connection->session->database;
    const auto note = [&findings](const QSqlQuery &row) {
        if (row.value(0).toLongLong() > 0)
            findings.faults << row.value(1).toString() + QStringLiteral(": ") + row.value(0).toString();
        return true;
    };
    QStringList checks = statementsOf(QStringLiteral("checks.sql"));
    if (connection->location.isFile())
        checks.prepend(QStringLiteral("SELECT count(*), 'damaged places' FROM pragma_quick_check"
                                      " WHERE quick_check <> 'ok'"));
    QString reason;
    for (const QString &check : checks) {
        if (reason.isEmpty())
            ask(database, check, note, &reason);
    }
    if (reason.isEmpty())
        count(database, findings.counted, &reason);
    reason = connection->end(reason);
    return reason.isEmpty() || fail(error, reason);
}
