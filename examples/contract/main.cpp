// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Checks whether the record library that it is linked with does what zqxml expects of one. It knows the three types
// that the comm server agent sends; numbers of further types may follow on the command line. Run it under a sanitizer
// or valgrind: what a library frees twice, or not at all, only they see.

#include <recordlib/zqapp.h>
#include <zqxml/xmlpacketable.h>

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

bool failed = false;

void expect(bool held, const char *what)
{
    std::printf("  %s %s\n", held ? "holds " : "FAILED", what);
    failed = failed || !held;
}

using Record = std::unique_ptr<ZQPacketable>;

Record makeRecord(PACKETDATATYPES type)
{
    return Record(PacketableUtil::getPacketable(type));
}

/** Returns the record's packet text, and frees the buffer. */
QByteArray textOf(ZQPacketable &record)
{
    unsigned int length = 0;
    char *const buffer = record.toPacket(length);
    const QByteArray text = buffer ? QByteArray(buffer, static_cast<int>(length)) : QByteArray();
    std::free(buffer);
    return text;
}

void checkChains()
{
    std::printf("chains\n");
    ZQLIST_ELEMENT first{}, second{}, third{};
    second.next = &third;
    ZQLIST_ELEMENT *head = nullptr;
    AddListList(&head, &first);
    expect(head == &first, "an empty chain takes the other");
    AddListList(&head, &second);
    expect(head == &first && first.next == &second && second.next == &third, "a chain is appended, in its order");
    RemoveItemFromList(&head, &second);
    expect(first.next == &third && !second.next, "a record is taken out, and its next is null");
    AddListList(&first.next, &second);
    expect(third.next == &second, "a chain may be given by a link inside it, for appending");
    RemoveItemFromList(&first.next, &third);
    expect(head == &first && first.next == &second, "and for taking out");
    RemoveItemFromList(&head, &first);
    expect(head == &second && !first.next, "the first is taken out");
    head = nullptr;
    ZQPacketFreeList(&head, JOB_TYPE);
    ZQPacketFreeItem(nullptr, JOB_TYPE);
    expect(!head, "freeing nothing does nothing");
}

/** Returns the tag of the first row with a text; 0 when there is none. */
unsigned int checkTable(PACKETDATATYPES type)
{
    const CONVERTSTRUCTELEMENTINFO *row = ZQGetSystemStorageClassConv(type);
    expect(row, "it has a conversion table");
    unsigned int textTag = 0;
    bool known = true;
    for (; row && row->elementType != 0; ++row) {
        known = known && row->elementType <= 33 && row->fieldName;
        if (row->elementType == 1 && textTag == 0)
            textTag = row->dataTag;
    }
    expect(known, "its rows have names, and element types from 1 to 33");
    return textTag;
}

void checkRecord(PACKETDATATYPES type, unsigned int textTag)
{
    const Record record = makeRecord(type);
    expect(record && record->dataType == type, "a record of the type can be made");
    if (!record)
        return;
    expect(!record->payload && !record->name, "a new one has no payload and no name");
    QByteArray name("Möwe");
    record->setName(name.constData());
    expect(record->name && record->name != name.constData() && name == record->name, "a name is copied");

    const QByteArray line = textTag != 0 ? QByteArray::number(textTag, 16) + " Löwe\n" : QByteArray();
    QByteArray text = "SI " + QByteArray::number(type, 16) + '\n' + line + "TI 0\n";
    const auto length = static_cast<unsigned int>(text.size());
    expect(record->fromPacket(text.data(), length, false, true) && record->payload, "it accepts packet text");
    const QByteArray written = textOf(*record);
    expect(written.contains(line), "and writes what it read");

    const Record copy = makeRecord(type);
    *copy = *record;
    expect(textOf(*copy) == written && copy->payload != record->payload, "a copy is equal and shares nothing");

    XMLPacketable object;
    object.setData(*record);
    ZQPacketable *const rebuilt = object.getDataConst();
    expect(rebuilt && textOf(*rebuilt).contains(line), "a record that was XML holds the same text");
}

} // namespace

int main(int argc, char *argv[])
{
    checkChains();
    std::vector<unsigned int> types = {DBLIST_ENTRY_TYPE, JOB_TYPE, BOOK_TYPE};
    for (int i = 1; i < argc; ++i)
        types.push_back(QString::fromLocal8Bit(argv[i]).toUInt(nullptr, 0));
    for (const unsigned int type : types) {
        std::printf("records of type %u\n", type);
        checkRecord(static_cast<PACKETDATATYPES>(type), checkTable(static_cast<PACKETDATATYPES>(type)));
    }
    std::printf(failed ? "The contract is broken\n" : "The contract is kept\n");
    return failed ? 1 : 0;
}
