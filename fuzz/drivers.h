// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef FUZZ_DRIVERS_H
#define FUZZ_DRIVERS_H

#include <QByteArray>
#include <QString>

/**
 * What the fuzzers drive, shared with the test that replays their inputs. Each function returns an empty text when all
 * was as it should be, and what differs otherwise. Inputs of more than MAXIMUM_SIZE bytes are passed over: the plain
 * form of the conversion, with which results are compared, knows no limit of nesting.
 *
 * An input that brings conversion tables begins with two lines, the tables of the data types 1f and 20: three bytes a
 * row, for its element type, its data tag and the size of its field. In "A12" these are 1, 1 and 2.
 */
namespace drivers {

constexpr int MAXIMUM_SIZE = 4096;

/** Two tables and packet text, which goes the whole road: object, packet, copy, printed text, record. */
QString textToXml(const QByteArray &input);

/**
 * Two tables and a tree, which is written as packet text. Every element, attribute and text is in the tree as it is
 * spelt here, so that there are no trees that a parser would refuse.
 * \code
 * <I=d1f;<1=vabc;><f<V"10;><V"20;>>!a comment;>
 * <item datatype="1f"><1 value="abc"/><f><value>10</value><value>20</value></f><!--a comment--></item>
 * \endcode
 */
QString xmlToText(const QByteArray &input);

/** A byte that chooses a base, and a text, which is read as list and as value of every type. */
QString numbers(const QByteArray &input);

/** Two tables and packet text, which becomes XML, text, and XML again, each time compared with the plain form. */
QString roundTrip(const QByteArray &input);

/** Returns an input for textToXml(), numbers() and roundTrip(), as likely to be good as to be bad in some place. */
QByteArray textExample(quint32 seed);

/** Returns an input for xmlToText(). */
QByteArray treeExample(quint32 seed);

/** What reads as the wire form or as a printed packet writes bytes that read and write as themselves. */
QString wireRead(const QByteArray &input);

/** Bytes that spell a tree, which is written as the plain form writes it, and read again. */
QString wireTrees(const QByteArray &input);

/** Returns an input for wireRead(), mostly with one byte changed. */
QByteArray wireExample(quint32 seed);

/** Returns an input for wireTrees(). */
QByteArray bytesExample(quint32 seed);

/** A trace, good or not, which is read, written again, summed up and drawn. */
QString traceRead(const QByteArray &input);

/** Returns an input for traceRead(), mostly with some bytes changed. */
QByteArray traceExample(quint32 seed);

/** Steps of two sessions between which frames get lost, doubled, late and forged. */
QString busFrames(const QByteArray &input);

/** Returns an input for busFrames(). */
QByteArray busExample(quint32 seed);

struct Driver {
    const char *name; ///< of the fuzzer, and of the folder of its inputs
    QString (*run)(const QByteArray &input);
    QByteArray (*example)(quint32 seed); ///< a random input
};

constexpr Driver ALL[] = {
    {"text-to-xml", textToXml, textExample}, {"xml-to-text", xmlToText, treeExample},
    {"numbers", numbers, textExample},       {"round-trip", roundTrip, textExample},
    {"wire-read", wireRead, wireExample},    {"wire-trees", wireTrees, bytesExample},
    {"trace-read", traceRead, traceExample}, {"bus-frames", busFrames, busExample},
};

} // namespace drivers

#endif
