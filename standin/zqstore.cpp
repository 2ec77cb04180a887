// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "standin/zqstandin.h"

#include "database_p.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <initializer_list>
#include <limits>

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

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

quint64 totalOf(const ZQSTORESIZE &size)
{
    return static_cast<quint64>(size.outputs) + size.publications + size.jobs + size.books;
}

class StoreWriter
{
public:
    StoreWriter(Database &database, const ZQSTORESIZE &storeSize, const ZQPROGRESS &callback)
        : query(database.handle), size(storeSize), progress(callback), random(size.seed),
          firstPublication(size.outputs + 1ull), firstJob(firstPublication + size.publications),
          firstBook(firstJob + size.jobs)
    {
    }

    bool write(QString *error)
    {
        if (writeOutputs() && writePublications() && writeJobs() && writeBooks())
            return true;
        return fail(error, reasonOf(query.lastError()));
    }

private:
    bool prepare(const char *table, int columns)
    {
        return query.prepare(QStringLiteral("INSERT INTO %1 VALUES (?%2)")
                                 .arg(QLatin1String(table), QStringLiteral(", ?").repeated(columns - 1)));
    }

    bool insert(quint64 id, unsigned int hkey, const QString &name, std::initializer_list<QVariant> others)
    {
        // The factor is odd, so no two ids below 2^32 share a key.
        const QVariant first[] = {id, static_cast<quint64>(static_cast<quint32>(id * 2654435761u)),
                                  static_cast<quint64>(hkey), name};
        int column = 0;
        for (const QVariant &value : first)
            query.bindValue(column++, value);
        for (const QVariant &value : others)
            query.bindValue(column++, value);
        if (progress && ++written % 4096 == 0)
            progress(written, totalOf(size));
        return query.exec();
    }

    // What is drawn is drawn one by one: the order in which a call's arguments are made is the compiler's choice.
    template <std::size_t count>
    QString makeName(const char *const (&words)[count], quint64 index)
    {
        const QString word = text(random.pick(words));
        const QString place = text(random.pick(places));
        return word + QLatin1Char(' ') + place + QLatin1Char(' ') + QString::number(index + 1);
    }

    bool writeOutputs()
    {
        bool ok = prepare("outputs", 7);
        for (quint64 i = 0; ok && i < size.outputs; ++i) {
            const QString name = makeName(machines, i);
            ok = insert(1 + i, outputHkey, name,
                        {random.below(8) != 0 ? 1 : 0, 20 + random.below(200), 600 * (1 + random.below(4))});
        }
        return ok;
    }

    bool writePublications()
    {
        bool ok = prepare("publications", 4);
        for (quint64 i = 0; ok && i < size.publications; ++i)
            ok = insert(firstPublication + i, publicationHkey, makeName(things, i), {});
        return ok;
    }

    bool writeJobs()
    {
        bool ok = prepare("jobs", 16);
        for (quint64 i = 0; ok && i < size.jobs; ++i) {
            const Place place = placeOf(i);
            const QString name = place.page > 0 ? QStringLiteral("Seite %1").arg(place.page) : makeName(things, i);
            // Unlike a call's arguments, the values of a list are made in their order. Neighbours arrive in an order
            // that is not that of their ids.
            ok = insert(firstJob + i, jobHkey, name,
                        {place.page > 0 ? QVariant(place.publication) : QVariant(), place.page, random.pick(queues),
                         place.output, 1772409600 + (i ^ 0x155) * 7 + random.below(7), 10 * random.below(20),
                         1 + random.below(120), 20000 + random.next() % 90000000, text(random.pick(papers)),
                         text(random.pick(formats)), text(random.pick(inks)), QString::number(random.next(), 16)});
        }
        return ok;
    }

    bool writeBooks()
    {
        bool ok = prepare("books", 11);
        for (quint64 i = 0; ok && i < size.books; ++i) {
            const QString name = makeName(things, i);
            ok = insert(firstBook + i, bookHkey, name,
                        {firstPublication + i % size.publications, 4 + 4 * random.below(40), 8 << random.below(3),
                         100 * (1 + random.below(1000)), 1000ll * random.below(900) - 50000, text(random.pick(covers)),
                         text(random.pick(keywords))});
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

    QSqlQuery query;
    const ZQSTORESIZE &size;
    const ZQPROGRESS &progress;
    Generator random;
    const quint64 firstPublication;
    const quint64 firstJob;
    const quint64 firstBook;
    quint64 written = 0;
};

template <typename Call>
bool fillStore(Database &database, QString *error, Call fillTables)
{
    QSqlDatabase &handle = database.handle;
    if (!handle.open())
        return fail(error, reasonOf(handle.lastError()));
    // A file that is not finished is thrown away, so there is nothing that a journal on disk could save.
    QSqlQuery pragma(handle);
    if (!pragma.exec(QStringLiteral("PRAGMA journal_mode = MEMORY")))
        return fail(error, reasonOf(pragma.lastError()));
    pragma.finish();
    if (!handle.transaction())
        return fail(error, reasonOf(handle.lastError()));
    if (!database.executeScript(QStringLiteral("schema.sql"), error) || !fillTables(database))
        return false;
    return handle.commit() || fail(error, reasonOf(handle.lastError()));
}

/** Makes the file \a file and calls \a fillTables in one transaction. */
template <typename Call>
bool createStore(const QString &file, QString *error, Call fillTables)
{
    QFile newFile(file); // keeps what exists, and gives better reasons than the driver
    if (!newFile.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return fail(error, newFile.errorString());
    newFile.close();
    Database database(QStringLiteral("QSQLITE"), file);
    if (fillStore(database, error, fillTables))
        return true;
    database.handle.close();
    newFile.remove();
    return false;
}

} // namespace

bool ZQCreateStore(const QString &file, const ZQSTORESIZE &size, const ZQPROGRESS &progress, QString *error)
{
    if (size.jobs > 0 && size.outputs == 0)
        return fail(error, QStringLiteral("jobs need an output"));
    if (size.books > 0 && size.publications == 0)
        return fail(error, QStringLiteral("books need a publication"));
    if (totalOf(size) > static_cast<quint64>(std::numeric_limits<int>::max()))
        return fail(error, QStringLiteral("more records than there are ids"));
    return createStore(file, error,
                       [&](Database &database) { return StoreWriter(database, size, progress).write(error); });
}

bool ZQCreateSampleStore(const QString &file, QString *error)
{
    return createStore(file, error, [error](Database &database) {
        return database.executeScript(QStringLiteral("sample.sql"), error);
    });
}
