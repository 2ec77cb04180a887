// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_SAMPLES_H
#define BENCH_SAMPLES_H

#include <recordlib/zqapp.h>
#include <zqxml/xmlpacket.h>

#include <QByteArray>
#include <QDomDocument>

#include <memory>

/**
 * Returns \a n and what is below it on one line, with attributes in the order of their names and text in quotes:
 * item[datatype=1f](1[value=abc] 3[size=1](value("10")))
 */
QString dump(const QDomNode &n);

/** A record that gives a text of its maker's. */
class TextRecord : public ZQPacketable
{
public:
    TextRecord(const QByteArray &packetText, PACKETDATATYPES type) : ZQPacketable(type), text(packetText) { }

    char *toPacket(unsigned int &length) override;

private:
    QByteArray text;
};

/** Fields of an item: 27 simple, 4 keys, 4 arrays of 4 numbers, 4 arrays of 2 strings, 1 of binary data. */
constexpr int FIELDS_OF_ITEM = 40;

/** The data type of the sample's items; its conversion table has 120 rows. */
constexpr PACKETDATATYPES SAMPLE_TYPE = static_cast<PACKETDATATYPES>(0x1f);

/** Returns the conversion table of SAMPLE_TYPE, and makes it known to the record library. */
const CONVERTSTRUCTELEMENTINFO *sampleTable();

/**
 * Returns the packet text of an item that holds a list of \a items items, each full of fields. All characters are
 * ASCII.
 */
QByteArray sampleText(int items);

/** Where a packet differs from the others of its size. */
enum class Difference { Nowhere, Header, Middle, Last };

/** A packet with records, each an item full of fields, of which the last may have fewer; a handle to its document. */
struct SamplePacket : XMLPacket {
    /** Makes a packet of about \a bytes as text, that differs by \a number at \a difference. */
    SamplePacket(int bytes, Difference difference, int number);

    using XMLPacket::operator=;

    QDomDocument document;
};

/** Returns true when the texts of both packets are equal: the plain form of comparing them. */
bool haveEqualTexts(const SamplePacket &a, const SamplePacket &b);

#endif
