// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>
#include <zqxmlkit/testing.h>
#include <zqxmlkit/xmlendpoint.h>

#include <QTest>

#include <testtools.h>

class TestXMLEndpoint : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void content();
    void ends();
};

/** Every kind arrives, in its order, with its sender; all records at once. */
void TestXMLEndpoint::content()
{
    XMLRouter router(nullptr);
    XMLEndpoint sender(&router, 100);
    XMLEndpoint receiver(&router, 101);
    const int from = sender.getAgentID();
    QStringList log;
    connect(&receiver, &XMLEndpoint::actionReceived, this, [&log, from](int id, XMLAction &action) {
        QCOMPARE(id, from);
        log << action.getName();
    });
    connect(&receiver, &XMLEndpoint::uiReceived, this, [&log](int, XMLUI &got) { log << got.getName(); });
    connect(&receiver, &XMLEndpoint::imageReceived, this, [&log](int, XMLImage &got) { log << got.getName(); });
    connect(&receiver, &XMLEndpoint::messageReceived, this, [&log](int, XMLMessage &got) { log << got.getMessage(); });
    connect(&receiver, &XMLEndpoint::recordsReceived, this, [&log, from](int id, const XMLRecords &records) {
        QCOMPARE(id, from);
        for (const XMLRecord &record : records)
            log << record.name();
    });
    connect(&receiver, &XMLEndpoint::agentGone, this, [&log](int id) { log << QString::number(id); });

    XMLAction first(QStringLiteral("first"), 1, 0);
    XMLUI ui(QStringLiteral("menu"));
    XMLImage image;
    image.setName(QStringLiteral("image"));
    XMLMessage message(QStringLiteral("message"));
    XMLPacketable record;
    record.setName(QStringLiteral("record"));
    TextRecord converted("SI 1f\nTI 0\n");
    converted.setName("converted");
    sender.send(receiver.getAgentID(), first, record, ui, image, XMLAction(QStringLiteral("second"), 1, 0), converted,
                message);
    sender.send(receiver.getAgentID());
    sender.send(777, message);
    QTRY_COMPARE(log.join(QLatin1Char(' ')), QStringLiteral("first record converted menu image second message 777"));
}

void TestXMLEndpoint::ends()
{
    enum { Nothing, ReceiverInSignal, RouterInSignal, ReceiverWhenGone, ParentWhenGone, Ends };
    for (int end = Nothing; end < Ends; ++end) {
        auto router = std::make_unique<XMLRouter>(nullptr);
        QObject *parent = new QObject;
        QPointer<XMLEndpoint> receiver = new XMLEndpoint(router.get(), 101, parent);
        XMLEndpoint other(router.get(), 100);
        int actions = 0;
        connect(receiver.data(), &XMLEndpoint::actionReceived, this, [&](int, XMLAction &action) {
            ++actions;
            if (end == ReceiverInSignal)
                delete receiver;
            else if (end == RouterInSignal)
                router.reset();
            QCOMPARE(action.getType(), actions); // it lives as long as the signal
        });
        connect(receiver.data(), &XMLEndpoint::agentGone, this, [&] {
            if (end == ReceiverWhenGone)
                delete receiver;
        });
        connect(&other, &XMLEndpoint::agentGone, this, [&](int id) {
            if (id < 0)
                other.send(1, XMLAction()); // the router is being destroyed
            if (end == ParentWhenGone)
                delete std::exchange(parent, nullptr);
        });
        const int id = receiver->getAgentID();
        other.send(id, XMLAction(QString(), 1, 0), XMLAction(QString(), 2, 0));
        QTRY_COMPARE(actions, end == ReceiverInSignal ? 1 : 2);
        if (end == ReceiverWhenGone)
            XMLEndpoint(router.get(), 102);
        QCOMPARE(receiver.isNull(), end == ReceiverInSignal || end == ReceiverWhenGone);
        if (end == ParentWhenGone)
            delete receiver;
        QVERIFY2(!router || router->contains(id) == !receiver.isNull(), qPrintable(QString::number(end)));
        delete parent;
        QVERIFY2(receiver.isNull(), qPrintable(QString::number(end)));
    }
}

ZQXML_TEST_MAIN(TestXMLEndpoint)

#include "tst_xmlendpoint.moc"
