// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordbuilder_p.h"

#include "standin/zqrecords.h"

#include <QByteArray>
#include <QList>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

// What the tables do not hold is worked out from what they hold, as a printer's software would work it out.

template <typename Number>
Number numberAt(const QSqlQuery &row, int column)
{
    return static_cast<Number>(row.value(column).toLongLong());
}

QByteArray textAt(const QSqlQuery &row, int column)
{
    return row.value(column).toString().toUtf8();
}

ZQKEY_ELEMENT keyAt(const QSqlQuery &row, int column)
{
    return {numberAt<unsigned int>(row, column), numberAt<unsigned int>(row, column + 1)};
}

void setText(char *&field, const QByteArray &text)
{
    ZQSetText(field, text.constData(), static_cast<unsigned int>(text.size()));
}

template <std::size_t size>
void setText(char (&field)[size], const QByteArray &text)
{
    ZQSetFixedText(field, size, text.constData(), static_cast<unsigned int>(text.size()));
}

/** Makes an array of what \a value gives for each index. */
template <typename Value, typename Call>
void fill(ZQARRAY &array, unsigned int count, Call value)
{
    auto *const values = static_cast<Value *>(ZQResizeArray(array, count, sizeof(Value)));
    for (unsigned int i = 0; i < count; ++i)
        values[i] = static_cast<Value>(value(i));
}

void fillTexts(ZQARRAY &array, const QList<QByteArray> &texts)
{
    auto **text = static_cast<char **>(ZQResizeArray(array, static_cast<unsigned int>(texts.size()), sizeof(char *)));
    for (const QByteArray &each : texts)
        setText(*text++, each);
}

QList<QByteArray> partsAt(const QSqlQuery &row, int column)
{
    const QByteArray text = textAt(row, column);
    return text.isEmpty() ? QList<QByteArray>() : text.split('+');
}

unsigned int hashOf(const QByteArray &text)
{
    unsigned int hash = 2166136261u;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

unsigned char coverageOf(const QByteArray &digest, unsigned int ink)
{
    return digest.isEmpty() ? static_cast<unsigned char>(0)
                            : static_cast<unsigned char>(
                                static_cast<unsigned char>(digest.at(static_cast<int>(ink) % digest.size())) % 101);
}

void fillTrimBox(ZQJOBRECORD *job)
{
    const struct {
        const char *paper;
        double width;
        double height;
    } papers[] = {{"A3", 297, 420}, {"A4", 210, 297}, {"A5", 148, 210}, {"B2", 500, 707}, {"Letter", 215.9, 279.4}};
    const auto paper = std::find_if(std::begin(papers), std::end(papers),
                                    [job](const auto &each) { return std::strcmp(each.paper, job->paper) == 0; });
    if (paper == std::end(papers))
        return;
    const double corners[] = {job->bleed, job->bleed, job->bleed + paper->width, job->bleed + paper->height};
    fill<double>(job->trimBox, 4, [&](unsigned int i) { return corners[i]; });
}

void fillInks(ZQJOBRECORD *job, const QList<QByteArray> &inks, const QByteArray &digest)
{
    static constexpr float angles[] = {15, 75, 0, 45};
    const auto count = static_cast<unsigned int>(inks.size());
    fillTexts(job->inks, inks);
    fill<unsigned char>(job->coverage, count, [&](unsigned int i) { return coverageOf(digest, i); });
    fill<unsigned short>(job->spots, count,
                         [&](unsigned int i) { return hashOf(inks.at(static_cast<int>(i))) % 4096; });
    ZQLIST_ELEMENT **tail = &job->separations;
    for (unsigned int i = 0; i < count; ++i) {
        auto *const separation = ZQNew<ZQSEPARATION>(SEPARATION_TYPE);
        setText(separation->ink, inks.at(static_cast<int>(i)));
        separation->angle = i < std::size(angles) ? angles[i] : 37.5f;
        separation->ruling = i < std::size(angles) ? 150 : 133.3;
        separation->coverage = coverageOf(digest, i);
        *tail = separation;
        tail = &separation->next;
    }
}

/** Sheets are printed in parts of fifty, so that a stopped output goes on with the part. */
void fillParts(ZQJOBRECORD *job)
{
    static constexpr unsigned int sheets = 50;
    const unsigned int count = (job->copies + sheets - 1) / sheets;
    fill<unsigned int>(job->ranges, 2 * count, [job](unsigned int i) {
        return i % 2 == 0 ? i / 2 * sheets + 1 : std::min<unsigned int>((i / 2 + 1) * sheets, job->copies);
    });
    fill<unsigned long long>(job->chunks, count, [job, count](unsigned int i) { return job->bytes / count * i; });
}

void addEvents(ZQJOBRECORD *job)
{
    const struct {
        const char *text;
        int delay; ///< since the arrival, seconds
        bool happened;
    } events[] = {{"arrived", 0, true}, {"checked", 60, job->queue > 1}, {"rasterised", 300, job->queue > 2}};
    ZQLIST_ELEMENT **tail = &job->events;
    for (unsigned int i = 0; i < std::size(events) && events[i].happened; ++i) {
        auto *const event = ZQNew<ZQEVENT>(EVENT_TYPE);
        setText(event->text, events[i].text);
        event->time = job->arrived + events[i].delay;
        event->kind = i + 1;
        *tail = event;
        tail = &event->next;
    }
}

ZQPAGE *newPage(int number, const QByteArray &label, char side, bool turned)
{
    auto *const page = ZQNew<ZQPAGE>(PAGE_TYPE);
    page->number = number;
    setText(page->label, label);
    page->side = side;
    page->turned = turned;
    return page;
}

/** Imposes \a size pages from \a first on: nested sheets of four pages each. */
ZQSECTION *newSection(const ZQBOOKRECORD *book, unsigned int index, unsigned int first, unsigned int size)
{
    auto *const section = ZQNew<ZQSECTION>(SECTION_TYPE);
    setText(section->name, "section " + QByteArray::number(index + 1));
    section->number = static_cast<unsigned char>(index + 1);
    section->folds = static_cast<signed char>(size <= 4 ? 1 : size <= 8 ? 2 : size <= 16 ? 3 : 4);
    fill<int>(section->order, size, [=](unsigned int i) {
        const unsigned int sheet = i / 4;
        const unsigned int places[] = {size - 1 - 2 * sheet, 2 * sheet, 2 * sheet + 1, size - 2 - 2 * sheet};
        const int page = static_cast<int>(first + places[i % 4]);
        return sheet % 2 == 0 ? page : -page;
    });
    ZQLIST_ELEMENT **tail = &section->pages;
    for (unsigned int i = 0; i < size && first + i <= book->pages; ++i) {
        const unsigned int sheet = std::min(i, size - 1 - i) / 2;
        const int number = static_cast<int>(first + i);
        *tail = newPage(number, QByteArray::number(number), i % 4 == 0 || i % 4 == 3 ? 'F' : 'B', sheet % 2 != 0);
        tail = &(*tail)->next;
    }
    return section;
}

void addSections(ZQBOOKRECORD *book)
{
    const unsigned int full = std::max(4u, book->signature / 4u * 4u);
    ZQLIST_ELEMENT **tail = &book->sections;
    unsigned int first = 1;
    for (unsigned int i = 0; first <= book->pages; ++i) {
        const unsigned int size = std::min(full, (book->pages - first + 4) / 4 * 4);
        *tail = newSection(book, i, first, size);
        tail = &(*tail)->next;
        first += size;
    }
}

ZQCOVER *newCover(const ZQBOOKRECORD *book, const QByteArray &material)
{
    static constexpr unsigned int plates = 4;
    auto *const cover = ZQNew<ZQCOVER>(COVER_TYPE);
    setText(cover->material, material);
    cover->spine = 0.05 * book->pages + 0.6;
    fill<unsigned char>(cover->inks, 2, [](unsigned int i) { return i == 0 ? 4 : 1; });
    fill<unsigned short>(cover->weights, 2, [](unsigned int i) { return i == 0 ? 300 : 25; });
    fill<unsigned int>(cover->plates, plates, [book](unsigned int i) { return 0xc0000000u + book->id * 16 + i; });
    fill<unsigned long long>(cover->sizes, plates,
                             [book](unsigned int i) { return (1ull << 32) * (i + 1) + book->pages; });
    fill<long long>(cover->shifts, plates, [](unsigned int i) { return (static_cast<long long>(i) - 2) * 3000000000; });
    ZQLIST_ELEMENT **tail = &cover->pages;
    for (int i = 1; i <= 4; ++i) {
        *tail = newPage(i, "U" + QByteArray::number(i), i == 1 || i == 4 ? 'F' : 'B', false);
        tail = &(*tail)->next;
    }
    return cover;
}

} // namespace

ZQLIST_ELEMENT *makeEntry(const QSqlQuery &row)
{
    auto *const entry = ZQNew<ZQDBLIST_ENTRY>(DBLIST_ENTRY_TYPE);
    entry->key = keyAt(row, 1);
    setText(entry->name, textAt(row, 3));
    entry->reserved[ENTRY_ID] = numberAt<unsigned int>(row, 0);
    entry->reserved[ENTRY_STATE] = numberAt<unsigned int>(row, 4);
    entry->reserved[ENTRY_SPEED] = numberAt<unsigned int>(row, 5);
    entry->reserved[ENTRY_RESOLUTION] = numberAt<unsigned int>(row, 6);
    entry->reserved[ENTRY_JOBS] = numberAt<unsigned int>(row, 7);
    return entry;
}

ZQLIST_ELEMENT *makeJob(const QSqlQuery &row)
{
    auto *const job = ZQNew<ZQJOBRECORD>(JOB_TYPE);
    job->id = numberAt<unsigned int>(row, 0);
    job->key = keyAt(row, 1);
    setText(job->name, textAt(row, 3));
    setText(job->publicationName, textAt(row, 4));
    job->publicationID = numberAt<unsigned int>(row, 5);
    job->publicationKey = keyAt(row, 17);
    job->page = numberAt<int>(row, 6);
    job->queue = numberAt<unsigned int>(row, 7);
    job->output = numberAt<unsigned int>(row, 8);
    job->arrived = numberAt<long long>(row, 9);
    job->priority = numberAt<unsigned char>(row, 10);
    job->copies = numberAt<unsigned short>(row, 11);
    job->bytes = numberAt<unsigned long long>(row, 12);
    setText(job->paper, textAt(row, 13));
    const QByteArray format = textAt(row, 14);
    job->format = format.isEmpty() ? '\0' : format.at(0);
    job->held = job->queue == 2;
    job->bleed = 3;
    job->scale = job->format == 'T' ? 0.98f : 1.0f;
    job->rotation = static_cast<short>(job->page % 2 == 0 ? 0 : -90);
    job->offset = {3000, job->page % 2 == 0 ? 3000 : -3000};
    const QByteArray digest = QByteArray::fromHex(textAt(row, 16));
    job->checksum = hashOf(digest);
    fill<char>(job->digest, static_cast<unsigned int>(digest.size()),
               [&digest](unsigned int i) { return digest.at(static_cast<int>(i)); });
    fillTrimBox(job);
    fillInks(job, partsAt(row, 15), digest);
    fillParts(job);
    addEvents(job);
    return job;
}

ZQLIST_ELEMENT *makeBook(const QSqlQuery &row)
{
    auto *const book = ZQNew<ZQBOOKRECORD>(BOOK_TYPE);
    book->id = numberAt<unsigned int>(row, 0);
    book->key = keyAt(row, 1);
    setText(book->name, textAt(row, 3));
    book->publication = numberAt<unsigned int>(row, 4);
    book->pages = numberAt<unsigned short>(row, 5);
    book->signature = numberAt<unsigned char>(row, 6);
    book->copies = numberAt<unsigned long long>(row, 7);
    book->balance = numberAt<long long>(row, 8);
    fillTexts(book->keywords, partsAt(row, 10));
    book->cover = newCover(book, textAt(row, 9));
    addSections(book);
    return book;
}
