// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlui.h>

#include <QtTest>

class tst_XMLUI : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void imagesAndMessages();
    void appendCopies();
    void actions();
    void emptyUI();
    void changesByTypeAndOriginator();
    void whatIsNoAction();

private:
    static void fill(XMLUI &ui)
    {
        XMLAction first(QStringLiteral("a"), 3, 7);
        XMLAction second(QStringLiteral("b"), 3, 7);
        XMLAction third(QStringLiteral("c"), 3, 8);
        second.setVisible(false);
        for (XMLAction *const action : {&first, &second, &third})
            ui.append(*action);
    }
};

void tst_XMLUI::imagesAndMessages()
{
    QCOMPARE(dump(XMLImage().getNode()), QStringLiteral("img"));
    XMLImage image(QStringLiteral("logo"));
    QVERIFY(image.isXMLImage() && image.getURL().isEmpty());
    image.setURL(QStringLiteral("http://example.org/?a=1&b=<2>"));
    image.setURL(QString());
    QCOMPARE(image.getName(), QStringLiteral("logo"));
    QCOMPARE(image.getURL(), QStringLiteral("http://example.org/?a=1&b=<2>"));
    QCOMPARE(dump(image.getNode()), QStringLiteral("img[name=logo url=http://example.org/?a=1&b=<2>]"));
    image.setName(QStringLiteral("n"));
    QCOMPARE(image.getName(), QStringLiteral("n"));

    QCOMPARE(dump(XMLMessage().getNode()), QStringLiteral("msg"));
    XMLMessage message(QStringLiteral(" two\nlines "));
    QVERIFY(message.isXMLMessage());
    QCOMPARE(message.getMessage(), QStringLiteral(" two\nlines "));
    message.setMessage(QStringLiteral("m"));
    QCOMPARE(dump(message.getNode()), QStringLiteral("msg[msg=m]"));
}

void tst_XMLUI::appendCopies()
{
    XMLUI ui(QStringLiteral("main"));
    QVERIFY(ui.isXMLUI());
    XMLAction action(QStringLiteral("a"), 1, 2);
    const QDomElement appended = ui.append(action);
    action.setName(QStringLiteral("changed"));
    QVERIFY(ui.getNode().firstChild() == appended);
    QCOMPARE(dump(ui.getNode()), QStringLiteral("ui[name=main](action[name=a originator=2 type=1])"));
    ui.setName(QStringLiteral("n"));
    QCOMPARE(ui.getName(), QStringLiteral("n"));
}

void tst_XMLUI::actions()
{
    XMLUI ui;
    fill(ui);
    const QString before = dump(ui.getNode());
    XMLAction earlier;
    QList<XMLAction *> found{&earlier};
    QCOMPARE(ui.getActions(found, true), 2);
    QCOMPARE(found.size(), 3);
    QCOMPARE(found.takeFirst(), &earlier);
    QCOMPARE(found.at(0)->getName() + found.at(1)->getName(), QStringLiteral("ac"));
    found.at(0)->setName(QStringLiteral("changed"));
    QCOMPARE(ui.getActions(found), 3);
    QCOMPARE(found.at(3)->getName(), QStringLiteral("b"));
    qDeleteAll(found);
    QCOMPARE(ui.visibleActionCount(), 2);
    QCOMPARE(dump(ui.getNode()), before);
}

void tst_XMLUI::emptyUI()
{
    XMLUI ui;
    QList<XMLAction *> found;
    QCOMPARE(ui.getActions(found), 0);
    QCOMPARE(ui.visibleActionCount(), 0);
    ui.setActionVisible(0, 0, true);
    QCOMPARE(dump(ui.getNode()), QStringLiteral("ui"));
    QVERIFY(ui.getName().isEmpty());
}

void tst_XMLUI::changesByTypeAndOriginator()
{
    XMLUI ui;
    fill(ui);
    ui.setActionVisible(3, 7, false);
    ui.setActionName(3, 8, QStringLiteral("C"));
    ui.setActionOrgName(3, 7, QStringLiteral("o"));
    ui.setActionOrgName(3, 7, QStringLiteral("p"));
    ui.setActionVisible(3, 9, false);
    ui.setActionVisible(4, 7, false);
    QCOMPARE(dump(ui.getNode()),
             QStringLiteral("ui(action[name=a originator=7 type=3](visible(\"0\") org_name(\"p\")) "
                            "action[name=b originator=7 type=3](visible(\"0\") org_name(\"p\")) "
                            "action[name=C originator=8 type=3])"));
    QCOMPARE(ui.visibleActionCount(), 1);
}

void tst_XMLUI::whatIsNoAction()
{
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<ui><?action x?><Action/><b><action/></b><action/></ui>")));
    XMLUI ui;
    ui.setNode(document.documentElement());
    // Missing attributes read as 0; the instruction of the name has none either, and cannot be written to.
    ui.setActionVisible(0, 0, false);
    QCOMPARE(dump(ui.getNode()), QStringLiteral("ui(<action> Action b(action) action(visible(\"0\")))"));
    QList<XMLAction *> found;
    QCOMPARE(ui.getActions(found), 2);
    QVERIFY(found.at(0)->getNode().isNull());
    QVERIFY(found.at(0)->getVisible());
    qDeleteAll(found);
}

QTEST_GUILESS_MAIN(tst_XMLUI)
#include "tst_xmlui.moc"
