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
    void actions();
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
    XMLImage image(QStringLiteral("logo"));
    QCOMPARE(image.getName(), QStringLiteral("logo"));
    QVERIFY(XMLImage().getName().isEmpty() && image.getURL().isEmpty());
    image.setURL(QStringLiteral("http://example.org/?a=1&b=<2>"));
    image.setURL(QString());
    QCOMPARE(image.getURL(), QStringLiteral("http://example.org/?a=1&b=<2>"));
    image.setName(QStringLiteral("n"));
    QCOMPARE(dump(image.getNode()), QStringLiteral("img[name=n url=http://example.org/?a=1&b=<2>]"));

    QCOMPARE(dump(XMLMessage().getNode()), QStringLiteral("msg"));
    XMLMessage message(QStringLiteral(" two\nlines "));
    QCOMPARE(message.getMessage(), QStringLiteral(" two\nlines "));
    message.setMessage(QStringLiteral("m"));
    QCOMPARE(dump(message.getNode()), QStringLiteral("msg[msg=m]"));
}

void tst_XMLUI::actions()
{
    XMLUI ui(QStringLiteral("main"));
    QCOMPARE(ui.visibleActionCount(), 0);
    fill(ui);
    const QString before = dump(ui.getNode());
    XMLAction earlier;
    QList<XMLAction *> found{&earlier};
    QCOMPARE(ui.getActions(found, true), 2);
    QCOMPARE(found.takeFirst(), &earlier);
    QCOMPARE(found.at(0)->getName() + found.at(1)->getName(), QStringLiteral("ac"));
    found.at(0)->setName(QStringLiteral("changed"));
    QCOMPARE(ui.getActions(found), 3);
    QCOMPARE(found.at(3)->getName(), QStringLiteral("b"));
    qDeleteAll(found);
    QCOMPARE(dump(ui.getNode()), before);
    QCOMPARE(ui.getName(), QStringLiteral("main"));
    XMLAction action;
    const QDomElement appended = ui.append(action);
    QVERIFY(appended == ui.getNode().lastChild() && appended != action.getNode());
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
    QCOMPARE(ui.visibleActionCount(), 1);
}

ZQXML_TEST_MAIN(tst_XMLUI)
#include "tst_xmlui.moc"
