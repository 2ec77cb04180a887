// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlui.h>

namespace {

QString shown(const ZQKEY_ELEMENT &key)
{
    return QStringLiteral("%1:%2").arg(key.key, 0, 16).arg(key.hkey, 0, 16);
}

QString shown(const QList<ZQKEY_ELEMENT *> &keys)
{
    QStringList texts;
    for (const ZQKEY_ELEMENT *const key : keys) {
        texts << shown(*key);
        delete key;
    }
    return texts.join(QLatin1Char(' '));
}

} // namespace

/** What user interfaces are made of. */
class tst_XMLAction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void properties();
    void fieldsBesideTheElement();
    void checking();
    void metaObject();
    void content();
    void imagesAndMessages();
    void userInterface();

private:
    QStringList notes;
};

void tst_XMLAction::cleanup()
{
    compareWithKept(notes, QFINDTESTDATA("../data/zqxml/xmlaction.txt"));
}

/** Each property written, missing, malformed and empty, and each half of a pair. */
void tst_XMLAction::properties()
{
    const QList<int> ids{10, 255};
    ZQKEY_ELEMENT first{0xa3, 7};
    ZQKEY_ELEMENT second{0xffffffff, 0};
    const QList<ZQKEY_ELEMENT *> keys{&first, nullptr, &second};
#define PROPERTY(get, has, set)                                                                                        \
    {                                                                                                                  \
        XMLAction action;                                                                                              \
        action.set;                                                                                                    \
        NOTE(action.getNode());                                                                                        \
        for (int half = 0; half < 2; ++half) {                                                                         \
            NOTE(action.get());                                                                                        \
            NOTE(action.has());                                                                                        \
            action.getNode().removeChild(action.getNode().firstChild());                                               \
            NOTE(action.get());                                                                                        \
            NOTE(action.has());                                                                                        \
            action.set;                                                                                                \
        }                                                                                                              \
        for (const char *const text : {"1 zz", "", "1 2 3", "1", "2"}) {                                               \
            for (QDomNode property = action.getNode().firstChild(); !property.isNull();                                \
                 property = property.nextSibling()) {                                                                  \
                property.firstChild().setNodeValue(QString::fromLatin1(text));                                         \
                NOTE(action.get());                                                                                    \
                NOTE(action.has());                                                                                    \
            }                                                                                                          \
        }                                                                                                              \
    }
    PROPERTY(getVisible, hasVisible, setVisible(false))
    PROPERTY(getShowNewestPage, hasShowNewestPage, setShowNewestPage(true))
    PROPERTY(isEnabled, hasEnabled, setEnabled(false))
    PROPERTY(isCheckable, hasCheckable, setCheckable(true))
    PROPERTY(isChecked, hasChecked, setChecked(true))
    PROPERTY(isSelected, hasSelected, setSelected(true))
    PROPERTY(getOrgName, hasVisible, setOrgName(QStringLiteral("n \u00e4")))
    PROPERTY(getZQKEY, hasZQKEY, setZQKEY({1, 0xfffffff2}))
    PROPERTY(getZQKEYList, hasZQKEYList, setZQKEYList(keys))
    PROPERTY(getJobID, hasJobID, setJobID(26))
    PROPERTY(getJobIDs, hasJobIDs, setJobIDs(ids))
    PROPERTY(getZQJobID, hasZQJobID, setZQJobID(26))
    PROPERTY(getZQJobIDs, hasZQJobIDs, setZQJobIDs(ids))
    PROPERTY(getPageNumber, hasPageNumber, setPageNumber(-26))
    PROPERTY(getChannelID, hasChannelID, setChannelID(0xfffffffau))
    PROPERTY(getIndex, hasIndex, setIndex(26))
    PROPERTY(getX, hasX, setX(-26))
    PROPERTY(getY, hasY, setY(26))
    PROPERTY(getXDouble, hasXDouble, setXDouble(1234567.0))
    PROPERTY(getYDouble, hasYDouble, setYDouble(-0.5))
    PROPERTY(getColour, hasColour, setColour(0x1a))
    PROPERTY(getNeedUpdate, hasNeedUpdate, setNeedUpdate(true))
    PROPERTY(getExcludePublications, hasExcludePublications, setExcludePublications(true))
    PROPERTY(getPaintPixmap, hasPaintPixmap, setPaintPixmap(true))
    PROPERTY(getSortAscending, hasSortAscending, setSortAscending(true))
    PROPERTY(getSortType, hasSortType, setSortType(26))
#undef PROPERTY
}

void tst_XMLAction::fieldsBesideTheElement()
{
    XMLAction action;
    QVERIFY(!action.actionGroup());
    action.setRect(10, 20, 30, 40);
    action.setTextRect(1, 2, 3, 4);
    action.setNode(XMLAction().getNode());
    QCOMPARE(action.rect(), QRect(10, 20, 30, 40));
    QCOMPARE(action.textRect(), QRect(1, 2, 3, 4));
}

void tst_XMLAction::checking()
{
    XMLAction action;
    connect(&action, &XMLAction::toggled, this, [this](bool checked) { NOTE(checked); });
    connect(&action, &XMLAction::toggling, this, [this](bool &cancel) { NOTE(cancel); });
    action.setCheckable(false);
    action.setChecked(true);
    action.setChecked(true);
    action.toggle();
    action.setEnabled(false);
    // What cannot be written is not claimed to be: a property that was parsed empty stays so.
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<action><checked/></action>")));
    action.setNode(document.documentElement());
    action.setChecked(true);
    NOTE(action.isChecked());
}

void tst_XMLAction::metaObject()
{
    NOTE(methodsOf(XMLAction::staticMetaObject));
    NOTE(methodsOf(XMLActionGroup::staticMetaObject));
    QCOMPARE(XMLAction::staticMetaObject.superClass(), &QObject::staticMetaObject); // XMLObject has none of its own
}

void tst_XMLAction::content()
{
    XMLAction action;
    TextRecord record(QByteArray("SL 1\n"));
    XMLPacketable object;
    object.setName(QStringLiteral("o"));
    action.setVisible(true);
    const QDomElement converted = action.append(record);
    const QDomElement copy = action.append(object);
    object.setName(QStringLiteral("changed"));
    NOTE(action.getNode().lastChild() == copy);
    NOTE(copy.previousSibling() == converted);
    NOTE(action.getNode());
    std::list<QDomNode> found{converted};
    NOTE(action.getNodesOfType(XMLObject::XML_PACKETABLE, found));
    NOTE(found.back() == copy);
    NOTE(action.hasNodesOfType(XMLObject::XML_PACKETABLE));
    action.removeNodesOfType(XMLObject::XML_PACKETABLE);
    NOTE(action.getNode());
}

void tst_XMLAction::imagesAndMessages()
{
    XMLImage image(QStringLiteral("logo"));
    image.setURL(QStringLiteral("http://example.org/?a=1&b=<2>"));
    NOTE(image.getNode());
    NOTE(image.getName());
    NOTE(image.getURL());
    XMLMessage message(QStringLiteral(" two\nlines "));
    NOTE(message.getNode());
    NOTE(message.getMessage());
}

void tst_XMLAction::userInterface()
{
    XMLUI ui(QStringLiteral("main"));
    NOTE(ui.getName());
    XMLAction first(QStringLiteral("a"), 3, 7);
    XMLAction second(QStringLiteral("b"), 3, 7);
    XMLAction third(QStringLiteral("c"), 3, 8);
    second.setVisible(false);
    for (XMLAction *const action : {&first, &second, &third}) {
        const QDomElement appended = ui.append(*action);
        NOTE(appended == ui.getNode().lastChild());
    }
    first.setName(QStringLiteral("changed"));
    NOTE(ui.visibleActionCount());
    QList<XMLAction *> found{&first};
    NOTE(ui.getActions(found, true));
    NOTE(ui.getActions(found));
    NOTE(found.takeFirst() == &first);
    for (XMLAction *const action : found) {
        NOTE(action->getNode());
        NOTE(action->getName());
        NOTE(action->getType());
        NOTE(action->getOriginator());
        action->setName(QStringLiteral("changed"));
    }
    qDeleteAll(found);
    NOTE(ui.getNode());
    ui.setActionVisible(3, 7, false);
    ui.setActionName(3, 8, QStringLiteral("C"));
    ui.setActionOrgName(3, 7, QStringLiteral("o"));
    ui.setActionVisible(4, 7, false);
    NOTE(ui.getNode());
    NOTE(ui.visibleActionCount());
    // Missing attributes read as 0; the instruction of the name has none either, and cannot be written to.
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<ui><?action x?><Action/><b><action/></b><action/></ui>")));
    ui.setNode(document.documentElement());
    ui.setActionVisible(0, 0, false);
    NOTE(ui.getNode());
    NOTE(ui.visibleActionCount());
}

ZQXML_TEST_MAIN(tst_XMLAction)
#include "tst_xmlaction.moc"
