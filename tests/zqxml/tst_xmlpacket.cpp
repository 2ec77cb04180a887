// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlui.h>

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QtTest>

#include <unistd.h>

#include <cstdio>

class tst_XMLPacket : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newPacket();
    void agentNumbers();
    void copies();
    void copyOutlivesTheOriginal();
    void equality_data();
    void equality();
    void equalityAgreesWithTexts();
    void appendCopies();
    void appendVShares();
    void print();

private:
    static QDomElement rootOf(XMLPacket &packet)
    {
        XMLMessage message;
        packet.appendV(message);
        QDomElement root = message.getNode().ownerDocument().documentElement();
        root.lastChild().removeChild(message.getNode());
        return root;
    }
};

void tst_XMLPacket::newPacket()
{
    XMLPacket packet;
    QVERIFY(packet.isEmpty());
    QCOMPARE(packet.getSourceAgentID(), 0);
    QCOMPARE(packet.getDestinationAgentID(), 0);
    QDomElement root = rootOf(packet);
    QCOMPARE(root.namespaceURI(), XMLObject::ZQ_NAMESPACE);
    QVERIFY(root.firstChild().namespaceURI().isNull());
    QDomDocument document = root.ownerDocument();
    QCOMPARE(
        XMLObject::toString(document),
        QStringLiteral("<zqxml xmlns=\"http://zqxml.example.org/ns/1.0\">\n <header>\n  <src/>\n  <dst/>\n </header>\n"
                       " <body/>\n</zqxml>\n"));
    QCOMPARE(packet.toString().trimmed(), QStringLiteral("<zqxml/>"));
}

void tst_XMLPacket::agentNumbers()
{
    XMLPacket packet;
    packet.setSourceAgentID(3);
    packet.setSourceAgentID(-5);
    packet.setDestinationAgentID(7);
    const QDomElement header = rootOf(packet).firstChildElement();
    QCOMPARE(dump(header), QStringLiteral("header(src[agent_id=-5] dst[agent_id=7])"));
    QCOMPARE(packet.getSourceAgentID(), -5);
    QCOMPARE(packet.getDestinationAgentID(), 7);
    for (const char *const noNumber : {"1a", "2147483648", ""}) {
        header.firstChildElement().setAttribute(XMLPacket::AGENT_ID, QString::fromLatin1(noNumber));
        QCOMPARE(packet.getSourceAgentID(), 0);
    }
}

void tst_XMLPacket::copies()
{
    XMLPacket packet;
    packet.setSourceAgentID(1);
    packet.setDestinationAgentID(2);
    XMLAction action(QStringLiteral("a"), 2, 3);
    packet.appendV(action);
    // A copy of a packet with a header behind its body finds its parts by name.
    QDomElement root = rootOf(packet);
    root.appendChild(root.firstChild());
    XMLPacket copy;
    copy.setDestinationAgentID(9);
    QCOMPARE(&(copy = packet), &copy);
    QVERIFY(copy == packet && !(copy != packet));
    QVERIFY(copy.getSourceAgentID() == 1 && copy.getDestinationAgentID() == 2);
    action.setName(QStringLiteral("changed"));
    QVERIFY(copy != packet);
    XMLPacket &self = packet;
    packet = self;
    copy = packet;
    QVERIFY(copy == packet);

    copy.init(nullptr);
    QDomElement withoutParts = rootOf(copy);
    while (withoutParts.hasChildNodes())
        withoutParts.removeChild(withoutParts.firstChild());
    packet = copy;
    packet.setSourceAgentID(1);
    XMLMessage message;
    QVERIFY(packet.getSourceAgentID() == 0 && packet.isEmpty() && packet.append(message).isNull());
}

void tst_XMLPacket::copyOutlivesTheOriginal()
{
    // The interesting finding of this test is that of valgrind or a sanitizer: none.
    XMLPacket copy;
    {
        XMLPacket packet;
        XMLAction action(QStringLiteral("a"), 2, 3);
        packet.appendV(action);
        copy = packet;
    }
    copy.setSourceAgentID(4);
    std::list<QDomNode> actions;
    copy.getNodesOfType(XMLObject::XML_ACTION, actions);
    QDomElement action = actions.front().toElement();
    XMLAction::setName(action, QStringLiteral("b"));
    XMLAction::setVisible(action, true);
    XMLMessage message(QStringLiteral("m"));
    copy.append(message);
    QCOMPARE(dump(action.parentNode()),
             QStringLiteral("body(action[name=b originator=3 type=2](visible(\"1\")) msg[msg=m])"));

    // Elements live on after the packet, and can be changed.
    copy.init(nullptr);
    QVERIFY(copy.isEmpty());
    XMLAction::setOrgName(action, QStringLiteral("o"));
    QCOMPARE(XMLObject::getProperty(action, QStringLiteral("org_name")), QStringLiteral("o"));
}

void tst_XMLPacket::equality_data()
{
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("otherBody");
    QTest::addColumn<bool>("equal");
    const auto row = [](const char *name, const char *body, const char *otherBody, bool equal) {
        QTest::newRow(name) << QString::fromUtf8(body) << QString::fromUtf8(otherBody) << equal;
    };
    row("same", "<a x='1'><b>t</b></a>", "<a x='1'><b>t</b></a>", true);
    row("attributes written in another order", "<a p='1' q='2' r='3'/>", "<a r='3' q='2' p='1'/>", true);
    row("attribute order beside what only texts can tell", "<a p='1' q='2'/><!--c-->", "<a q='2' p='1'/><!--c-->",
        true);
    row("attribute name", "<a value='1'/><c/>", "<a p='1'/><c/>", false);
    row("one of two attributes", "<a p='1' q='2'/><c/>", "<a p='1' q='3'/><c/>", false);
    row("one attribute more", "<a p='1' q='2'/><c/>", "<a p='1'/><c/>", false);
    row("one element more inside", "<a><b/></a><c/>", "<a><b/><b/></a><c/>", false);
    row("CDATA against text", "<a><![CDATA[t]]></a>", "<a>t</a>", false);
    row("a comment more", "<a/><!--c-->", "<a/>", false);
    row("an instruction", "<?p x?><a/>", "<?p y?><a/>", false);
    row("prefixed attribute", "<a p:q='1'/>", "<a q='1'/>", false);
}

void tst_XMLPacket::equality()
{
    QFETCH(QString, body);
    QFETCH(QString, otherBody);
    QFETCH(bool, equal);
    const auto fill = [](XMLPacket &packet, const QString &xml) {
        QDomDocument document;
        document.setContent(QStringLiteral("<r xmlns:p='u'>%1</r>").arg(xml), true);
        QDomElement root = rootOf(packet);
        for (QDomNode n = document.documentElement().firstChild(); !n.isNull(); n = n.nextSibling())
            root.lastChild().appendChild(root.ownerDocument().importNode(n, true));
    };
    XMLPacket packet;
    XMLPacket other;
    fill(packet, body);
    fill(other, otherBody);
    QCOMPARE(packet == other, equal);
    QCOMPARE(other == packet, equal);
    other.setDestinationAgentID(1);
    QVERIFY2(packet != other, "the header counts");
}

void tst_XMLPacket::equalityAgreesWithTexts()
{
    // Trees that differ can print alike: neighbouring and empty texts, blanks that look like an indentation, names and
    // comments that look like more than they are. Only with one attribute an element do texts tell for certain.
    const auto grow = [](QDomElement element, QRandomGenerator &random, bool disguised, auto self, int depth) -> void {
        static const char *const texts[] = {"", "a", "b", "ab", "\n    ", "\n     ", " ", "]]>"};
        static const char *const names[] = {"a", "b", "a/", "a q=\"1\""};
        static const char *const comments[] = {"c", "--><a/><!--", "-"};
        QDomDocument document = element.ownerDocument();
        for (int children = int(random.bounded(4)); children > 0; --children) {
            const quint32 kind = random.bounded(6u);
            if (kind < 2) {
                const QString text = QString::fromLatin1(texts[random.bounded(8)]);
                element.appendChild(document.createTextNode(disguised ? text.left(1) : text));
                if (disguised)
                    element.appendChild(document.createTextNode(text.mid(1)));
            } else if (kind == 2) {
                element.appendChild(document.createComment(QString::fromLatin1(comments[random.bounded(3)])));
            } else if (kind == 3) {
                element.appendChild(document.createCDATASection(QString::fromLatin1(texts[random.bounded(4)])));
            } else {
                const QString name = QString::fromLatin1(names[random.bounded(4)]);
                const bool attribute = random.bounded(2) == 1;
                const QString more = attribute && disguised ? QStringLiteral(" q=\"1\"") : QString();
                QDomElement child = document.createElement(name + more);
                if (attribute && !disguised)
                    child.setAttribute(QStringLiteral("q"), 1);
                element.appendChild(child);
                if (depth < 2)
                    self(child, random, disguised, self, depth + 1);
            }
        }
    };
    int equalPairs = 0;
    for (quint32 seed = 0; seed < 3000; ++seed) {
        XMLPacket packets[2];
        QString texts[2];
        for (const quint32 i : {0u, 1u}) {
            // Two trees, or a tree and its disguise.
            QRandomGenerator random(seed % 2 ? seed : 10000 * i + seed);
            const QDomElement root = rootOf(packets[i]);
            const QDomElement header = root.firstChildElement();
            const QDomElement parents[] = {root.lastChildElement(), header, header.firstChildElement(), root};
            packets[i].setDestinationAgentID(int(random.bounded(2)));
            grow(parents[random.bounded(4)], random, i == 1 && seed % 2, grow, 0);
            if (random.bounded(8) == 0)
                root.firstChildElement().firstChildElement().setTagName(QStringLiteral("src id=\"1\""));
            QDomDocument document = root.ownerDocument();
            texts[i] = XMLObject::toString(document);
        }
        equalPairs += texts[0] == texts[1];
        QVERIFY2((packets[0] == packets[1]) == (texts[0] == texts[1]), qPrintable(texts[0] + texts[1]));
    }
    QVERIFY2(equalPairs > 500, "the pairs must meet both cases");
}

void tst_XMLPacket::appendCopies()
{
    XMLPacket packet;
    XMLAction action(QStringLiteral("a"), 2, 3);
    XMLUI ui(QStringLiteral("u"));
    XMLImage image(QStringLiteral("i"));
    XMLMessage message(QStringLiteral("m"));
    XMLPacketable packetable;
    TextRecord record(QByteArray("SL 0\n"));
    record.setName("r");
    const QDomElement first = packet.append(action);
    action.setName(QStringLiteral("changed"));
    packet.append(ui);
    packet.append(image);
    packet.append(message);
    packet.append(packetable);
    packet.append(record, true);
    packet.appendV(record, false);
    QCOMPARE(dump(first.parentNode()),
             QStringLiteral("body(action[name=a originator=3 type=2] ui[name=u] img[name=i] msg[msg=m] packetable "
                            "packetable[datatype=1f is_current=1 name=r](list[size=0]) "
                            "packetable[datatype=1f name=r](list[size=0]))"));
    std::list<QDomNode> found;
    QCOMPARE(packet.getNodesOfType(XMLObject::XML_PACKETABLE, found), 3);
    QVERIFY(packet.hasNodesOfType(XMLObject::XML_ACTION) && !packet.hasNodesOfType(XMLObject::XML_PACKET));
}

void tst_XMLPacket::appendVShares()
{
    XMLAction action(QStringLiteral("a"), 2, 3);
    XMLUI ui;
    XMLImage image;
    XMLMessage message;
    XMLPacketable packetable;
    {
        XMLPacket packet;
        packet.appendV(action);
        packet.appendV(ui);
        packet.appendV(image);
        packet.appendV(message);
        packet.appendV(packetable);
        action.setName(QStringLiteral("changed"));
        QCOMPARE(dump(ui.getNode().parentNode()),
                 QStringLiteral("body(action[name=changed originator=3 type=2] ui img msg packetable)"));
    }
    // The objects outlive the packet: they can be printed, changed and appended elsewhere. Nothing must follow their
    // links to the neighbours that they had: valgrind and the sanitizers watch.
    XMLPacket next;
    next.appendV(message);
    next.appendV(ui);
    QCOMPARE(dump(ui.getNode().parentNode()), QStringLiteral("body(msg ui)"));
    next.init(nullptr);
    QCOMPARE(message.toString().trimmed() + ui.toString().trimmed(), QStringLiteral("<msg/><ui/>"));
    action.setVisible(false);
    QCOMPARE(dump(action.getNode()), QStringLiteral("action[name=changed originator=3 type=2](visible(\"0\"))"));
    action.setNode(ui.getNode());
    next.appendV(action);
    QVERIFY(!next.isEmpty());
}

void tst_XMLPacket::print()
{
    XMLPacket packet;
    XMLMessage message(QStringLiteral("\u00fcber 100%s \u20ac"));
    packet.appendV(message);
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
