// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlui.h>

#include <QTemporaryFile>

#include <unistd.h>

#include <cstdio>
#include <deque>

namespace {

struct Kind {
    std::unique_ptr<XMLObject> (*make)();
    void (*append)(XMLPacket &packet, XMLObject &object, bool shared);
};

template <typename Object>
constexpr Kind kindOf()
{
    return {[]() -> std::unique_ptr<XMLObject> { return std::make_unique<Object>(); },
            [](XMLPacket &packet, XMLObject &object, bool shared) {
                if (shared)
                    return packet.appendV(static_cast<Object &>(object));
                const QDomElement copy = packet.append(static_cast<Object &>(object));
                QVERIFY(copy == packet.getBody().lastChild());
            }};
}

const Kind kinds[] = {kindOf<XMLPacketable>(), kindOf<XMLAction>(), kindOf<XMLUI>(), kindOf<XMLImage>(),
                      kindOf<XMLMessage>()};

/**
 * Objects and packets that come and go and share elements, drawn from a seed, and beside each what it must hold: an
 * element is a text here, and whoever shares the element shares the text.
 */
class Company : public Mischief
{
public:
    explicit Company(quint32 seed) : Mischief(seed)
    {
        for (Object &object : objects)
            replace(object);
        for (Packet &packet : packets)
            packet.packet = std::make_unique<XMLPacket>();
    }

    void step()
    {
        Object &object = objects[below(int(std::size(objects)))];
        Packet &packet = packets[std::size_t(below(used))];
        Packet &other = packets[std::size_t(below(used))];
        switch (below(7)) {
        case 0:
            return replace(object);
        case 1:
            object.object->setNode(objects[0].object->getNode());
            object.text = std::make_shared<QString>(*objects[0].text);
            return;
        case 2:
            if (below(2))
                packets.push_back({nullptr, packet.packet->getBody(), packet.texts});
            if (below(2))
                packet.packet = std::make_unique<XMLPacket>();
            else
                packet.packet->init(nullptr);
            return packet.texts.clear();
        case 3: {
            const auto texts = other.texts;
            packet.texts.clear();
            for (const auto &text : texts)
                packet.texts.push_back(std::make_shared<QString>(*text));
            *packet.packet = *other.packet;
            QVERIFY(*packet.packet == *other.packet);
            return;
        }
        case 4:
            packet.texts.push_back(std::make_shared<QString>(*object.text));
            return object.kind->append(*packet.packet, *object.object, false);
        case 5:
            for (Packet &each : packets)
                each.texts.remove(object.text);
            packet.texts.push_back(object.text);
            return object.kind->append(*packet.packet, *object.object, true);
        default:
            return mark(object);
        }
    }

    /** Returns what differs from what must be. */
    QString difference() const
    {
        for (const Object &object : objects) {
            if (dump(object.object->getNode()) != *object.text)
                return dump(object.object->getNode()) + QStringLiteral(" instead of ") + *object.text;
        }
        for (const Packet &each : packets) {
            QStringList texts;
            for (const auto &text : each.texts)
                texts << *text;
            const QString all = texts.join(QLatin1Char(' '));
            const QString body = dump(each.packet ? each.packet->getBody() : each.body);
            if (body != (all.isEmpty() ? QStringLiteral("body") : QStringLiteral("body(%1)").arg(all)))
                return body + QStringLiteral(" with ") + all;
        }
        return QString();
    }

private:
    struct Object {
        const Kind *kind;
        std::unique_ptr<XMLObject> object;
        std::shared_ptr<QString> text;
    };

    struct Packet {
        std::unique_ptr<XMLPacket> packet;
        QDomElement body; ///< of one that is held without its packet
        std::list<std::shared_ptr<QString>> texts;
    };

    void replace(Object &object)
    {
        object.kind = &kinds[below(int(std::size(kinds)))];
        object.object = object.kind->make();
        object.text = std::make_shared<QString>();
        mark(object);
    }

    void mark(Object &object)
    {
        QDomElement element = object.object->getNode();
        XMLObject::setProperty(element, QStringLiteral("n"), ++marks);
        *object.text = QStringLiteral("%1(n(\"%2\"))").arg(element.tagName()).arg(marks);
    }

    static constexpr int used = 3;
    int marks = 0;
    std::deque<Packet> packets{used}; ///< those in use, and then those of which only the body is held
    Object objects[5];
};

} // namespace

class tst_XMLPacket : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void partsByName();
    void contentIsSharedOrCopied();
    void records();
    void print();
};

void tst_XMLPacket::partsByName()
{
    XMLPacket packet;
    packet.setSourceAgentID(1);
    packet.setDestinationAgentID(2);
    XMLMessage message;
    packet.append(message);
    QDomElement header = packet.getBody().previousSiblingElement();
    header.appendChild(header.firstChild());
    packet.getBody().parentNode().appendChild(header);
    XMLPacket copy;
    QCOMPARE(&(copy = packet), &copy);
    QCOMPARE(dump(copy.getBody().parentNode()),
             QStringLiteral("zqxml(body(msg) header(dst[agent_id=2] src[agent_id=1]))"));
    QCOMPARE(copy.getSourceAgentID(), 1);
    QCOMPARE(copy.getDestinationAgentID(), 2);
    // The copy of what lacks its parts lacks them too, and the rest of it works.
    QDomElement root = packet.getBody().parentNode().toElement();
    while (root.hasChildNodes())
        root.removeChild(root.firstChild());
    copy = packet;
    copy.setSourceAgentID(1);
    QCOMPARE(copy.getSourceAgentID(), 0);
    QVERIFY(copy.getBody().isNull());
    QVERIFY(copy.isEmpty());
    QVERIFY(copy.append(message).isNull());
    copy.appendV(message);
    QCOMPARE(dump(message.getNode()), QStringLiteral("msg"));
}

void tst_XMLPacket::contentIsSharedOrCopied()
{
    const quint32 first = QRandomGenerator::global()->generate();
    for (quint32 seed = first; seed - first < 60; ++seed) {
        Company company(seed);
        for (int i = 0; i < 70; ++i) {
            company.step();
            QVERIFY2(company.difference().isNull(),
                     qPrintable(QStringLiteral("seed %1, step %2: %3").arg(seed).arg(i).arg(company.difference())));
        }
    }
}

void tst_XMLPacket::records()
{
    XMLPacket packet;
    QVERIFY(packet.isEmpty());
    TextRecord record(QByteArray("SL 0\n"));
    const QDomElement first = packet.append(record, true);
    packet.appendV(record, false);
    QVERIFY(first == packet.getBody().firstChild());
    QCOMPARE(dump(packet.getBody()),
             QStringLiteral("body(packetable[datatype=1f is_current=1](list[size=0]) "
                            "packetable[datatype=1f](list[size=0]))"));
    QVERIFY(!packet.isEmpty());
    std::list<QDomNode> found{first};
    QCOMPARE(packet.getNodesOfType(XMLObject::XML_PACKETABLE, found), 2);
    QVERIFY(packet.hasNodesOfType(XMLObject::XML_PACKETABLE));
}

void tst_XMLPacket::print()
{
    XMLPacket packet;
    XMLMessage message(QStringLiteral("\u00fcber 100%s \u20ac"));
    packet.appendV(message);
    QCOMPARE(packet.toString().trimmed(), QStringLiteral("<zqxml/>"));
    XMLAction action;
    QTemporaryFile file;
    QVERIFY(file.open());
    std::fflush(stdout);
    const int output = dup(STDOUT_FILENO);
    dup2(file.handle(), STDOUT_FILENO);
    packet.print();
    action.print(QStringLiteral("t\u00eftle"));
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    close(output);
    file.seek(0);
    QCOMPARE(
        QString::fromUtf8(file.readAll()),
        QStringLiteral("<zqxml xmlns=\"http://zqxml.example.org/ns/1.0\">\n <header>\n  <src/>\n  <dst/>\n </header>\n"
                       " <body>\n  <msg msg=\"\u00fcber 100%s \u20ac\"/>\n </body>\n</zqxml>\n"
                       "-- t\u00eftle --\n <action/>\n\n"));
}

ZQXML_TEST_MAIN(tst_XMLPacket)
#include "tst_xmlpacket.moc"
