// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "samples.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlobject.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlrecord.h>
#include <zqxmlkit/xmlreply.h>
#include <zqxmlkit/xmlrequester.h>

#include <QCoreApplication>

#include <algorithm>
#include <vector>

namespace {

/** Answers each packet with an action. */
class Answerer : public XMLAgent
{
public:
    Answerer() : XMLAgent(100) { }

    void receive(XMLPacket *request) override
    {
        const std::unique_ptr<XMLPacket> held(request);
        XMLAction answer(QStringLiteral("Answer"), 2000, 0);
        XMLPacket *const reply = getXMLPacket(held->getSourceAgentID());
        reply->appendV(answer);
        router->send(reply);
    }
};

/** Sends a packet with an action and waits for the answer. */
class BareAsker : public XMLAgent
{
public:
    BareAsker() : XMLAgent(100) { }

    void receive(XMLPacket *packet) override
    {
        answer.reset(packet);
    }

    std::unique_ptr<XMLPacket> ask(int destination)
    {
        XMLAction action(QStringLiteral("Question"), 1000, 0);
        XMLPacket *const packet = getXMLPacket(destination);
        packet->append(action);
        router->send(packet);
        while (!answer)
            QCoreApplication::processEvents();
        return std::move(answer);
    }

private:
    std::unique_ptr<XMLPacket> answer;
};

/** A router, who answers, and the two who ask. */
struct Office {
    Office() : requester(&router)
    {
        router.add(&answerer);
        router.add(&asker);
        require(textOf(ask()) == textOf(asker.ask(answerer.getAgentID())), "the forms of asking give another answer");
    }

    std::unique_ptr<XMLPacket> ask()
    {
        XMLAction action(QStringLiteral("Question"), 1000, 0);
        const std::unique_ptr<XMLReply> reply(requester.request(answerer.getAgentID(), action));
        bool finished = false;
        QObject::connect(reply.get(), &XMLReply::finished, reply.get(), [&finished] { finished = true; });
        while (!finished)
            QCoreApplication::processEvents();
        return reply->takePacket();
    }

    static QString textOf(const std::unique_ptr<XMLPacket> &packet)
    {
        return packet ? dump(packet->getBody()) : QString();
    }

    XMLRouter router{nullptr};
    Answerer answerer;
    BareAsker asker;
    XMLRequester requester;
};

/** Returns the packet text of an item whose fields hold what their types take. */
QByteArray textOfFields()
{
    QByteArray text = "SI " + QByteArray::number(SAMPLE_TYPE, 16) + '\n';
    for (int i = 0; i < FIELDS_OF_ITEM; ++i) {
        const CONVERTSTRUCTELEMENTINFO &row = sampleTable()[3 * i];
        QByteArray value = "1";
        if (row.elementType == CONV_KEY)
            value = "12 13";
        else if (row.elementType == CONV_NUMBERARRAY)
            value = "4 12 13 14 15";
        else if (row.elementType == CONV_TEXTARRAY)
            value = "2 Cyan 12\rMagenta 13";
        text += QByteArray::number(row.dataTag, 16) + ' ' + value + '\n';
    }
    return text + "TI 0\n";
}

/** A record with all its fields, and the tags and names to read them by. */
struct Fields {
    Fields()
    {
        TextRecord converted(textOfFields(), SAMPLE_TYPE);
        record.setData(converted);
        const QDomElement item = record.getNodeConst().firstChild().toElement();
        for (QDomElement field = item.firstChildElement(); !field.isNull(); field = field.nextSiblingElement())
            tags.push_back(field.tagName());
        for (const CONVERTSTRUCTELEMENTINFO *row = sampleTable(); row->elementType != 0; ++row) {
            if (tags.end() != std::find(tags.begin(), tags.end(), QString::number(row->dataTag, 16)))
                names.push_back(QString::fromLatin1(row->fieldName));
        }
        require(names.size() == FIELDS_OF_ITEM, "the sample has not all of its fields");
        require(readByName() == FIELDS_OF_ITEM - 1, "not every field is read by its name"); // binary data has no value
        require(readByTag() > FIELDS_OF_ITEM, "not every field is read by its tag");
    }

    int readByName() const
    {
        const XMLRecord fields(record.getNodeConst());
        int valid = 0;
        for (const QString &name : names)
            valid += fields.value(name).isValid();
        return valid;
    }

    /** Reads the attributes of all fields, and the texts of arrays, as they stand. */
    qint64 readByTag() const
    {
        const QDomElement item = record.getNodeConst().firstChild().toElement();
        qint64 read = 0;
        for (const QString &tag : tags) {
            const QDomElement field = XMLObject::getElement(item, tag);
            if (field.firstChild().isNull()) {
                const QString value = field.attribute(XMLPacketable::VALUE);
                read += value.isNull()
                    ? field.attribute(XMLPacketable::KEY).size() + field.attribute(XMLPacketable::HKEY).size()
                    : value.size();
            } else {
                for (QDomNode value = field.firstChild(); !value.isNull(); value = value.nextSibling())
                    read += value.firstChild().nodeValue().size();
            }
        }
        return read;
    }

    XMLPacketable record;
    std::vector<QString> tags;
    std::vector<QString> names;
};

} // namespace

void addAsking()
{
    add("ask/ours/1", [](benchmark::State &) {
        const auto office = std::make_shared<Office>();
        return [office] { return office->ask(); };
    });
    add("ask/plain/1", [](benchmark::State &) {
        const auto office = std::make_shared<Office>();
        return [office] { return office->asker.ask(office->answerer.getAgentID()); };
    });
    const std::string size = '/' + std::to_string(FIELDS_OF_ITEM);
    add("fields/ours" + size, [](benchmark::State &) {
        const auto fields = std::make_shared<Fields>();
        return [fields] { return fields->readByName(); };
    });
    add("fields/plain" + size, [](benchmark::State &) {
        const auto fields = std::make_shared<Fields>();
        return [fields] { return fields->readByTag(); };
    });
}
