// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacketable.h>

#include <QSignalSpy>
#include <QtTest>

using Action = std::function<void(XMLAction &)>;
using Value = std::function<QVariant(XMLAction &)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(Value)

namespace {

QVariant toVariant(const QList<int> &ids)
{
    QVariantList list;
    for (const int id : ids)
        list << id;
    return list;
}

QList<ZQKEY_ELEMENT *> keysOf(const XMLAction &action, QList<ZQKEY_ELEMENT> &storage)
{
    const QList<ZQKEY_ELEMENT *> keys = action.getZQKEYList();
    for (const ZQKEY_ELEMENT *const key : keys)
        storage << *key;
    qDeleteAll(keys);
    return keys;
}

} // namespace

class tst_XMLAction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void properties_data();
    void properties();
    void identity();
    void staticSetters();
    void keys();
    void keyLists();
    void plainFields();
    void checking();
    void metaObject();
    void content();
};

/** One row a property: how it is written, what is stored, how it is read, and what a missing and a bad one read as. */
void tst_XMLAction::properties_data()
{
    QTest::addColumn<Action>("write");
    QTest::addColumn<Value>("read");
    QTest::addColumn<Value>("has");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("missing");
    QTest::addColumn<QVariant>("malformed");

#define ROW(key, Name, get, argument, stored, value, missing, malformed)                                               \
    QTest::newRow(key) << Action([](XMLAction &a) { a.set##Name(argument); })                                          \
                       << Value([](XMLAction &a) { return QVariant(a.get()); })                                        \
                       << Value([](XMLAction &a) { return QVariant(a.has##Name()); }) << QString::fromLatin1(stored)   \
                       << QVariant(value) << QVariant(missing) << QVariant(malformed)
    ROW("visible", Visible, getVisible, false, "0", false, true, false);
    ROW("show_newest_page", ShowNewestPage, getShowNewestPage, true, "1", true, false, false);
    ROW("enabled", Enabled, isEnabled, false, "0", false, true, false);
    ROW("checkable", Checkable, isCheckable, true, "1", true, false, false);
    ROW("checked", Checked, isChecked, true, "1", true, false, false);
    ROW("selected", Selected, isSelected, true, "1", true, false, false);
    ROW("pagenum", PageNumber, getPageNumber, -26, "-26", -26, 0, 0);
    ROW("channel_id", ChannelID, getChannelID, 0xfffffffau, "fffffffa", 0xfffffffau, 0u, 0u);
    ROW("index", Index, getIndex, 26, "26", 26, 0, 0);
    ROW("x", X, getX, -26, "-26", -26, 0, 0);
    ROW("y", Y, getY, 26, "26", 26, 0, 0);
    ROW("x_double", XDouble, getXDouble, 1234567.0, "1.23457e+06", 1234570.0, 0.0, 0.0);
    ROW("y_double", YDouble, getYDouble, -0.5, "-0.5", -0.5, 0.0, 0.0);
    ROW("colour", Colour, getColour, 0x1au, "1a", 0x1au, 0xffffffu, 0u);
    ROW("need_update", NeedUpdate, getNeedUpdate, true, "1", true, false, false);
    ROW("exclude_publications", ExcludePublications, getExcludePublications, true, "1", true, false, false);
    ROW("paint_pixmap", PaintPixmap, getPaintPixmap, true, "1", true, false, false);
    ROW("sort_ascending", SortAscending, getSortAscending, true, "1", true, false, false);
    ROW("sort_type", SortType, getSortType, 26, "26", 26, 0, 0);
    ROW("jobids", JobID, getJobID, 26, "1a", 26, 0, 0);
    ROW("zqjobids", ZQJobID, getZQJobID, 26, "1a", 26, 0, 0);
#undef ROW
    const QVariant none = QVariantList();
    const QVariant two = QVariantList{10, 255};
    QTest::newRow("jobids") << Action([](XMLAction &a) {
        a.setJobIDs({10, 255});
    }) << Value([](XMLAction &a) { return toVariant(a.getJobIDs()); })
                            << Value([](XMLAction &a) { return QVariant(a.hasJobIDs()); }) << QStringLiteral("a ff")
                            << two << none << none;
    QTest::newRow("zqjobids") << Action([](XMLAction &a) {
        a.setZQJobIDs({10, 255});
    }) << Value([](XMLAction &a) { return toVariant(a.getZQJobIDs()); })
                              << Value([](XMLAction &a) { return QVariant(a.hasZQJobIDs()); }) << QStringLiteral("a ff")
                              << two << none << none;
    QTest::newRow("org_name") << Action([](XMLAction &a) { a.setOrgName(QStringLiteral("\u00e4")); })
                              << Value([](XMLAction &a) { return QVariant(a.getOrgName()); })
                              << Value([](XMLAction &a) { return QVariant(!a.getOrgName().isNull()); })
                              << QStringLiteral("\u00e4") << QVariant(QStringLiteral("\u00e4")) << QVariant(QString())
                              << QVariant(QStringLiteral("zz 1"));
}

void tst_XMLAction::properties()
{
    QFETCH(Action, write);
    QFETCH(Value, read);
    QFETCH(Value, has);
    QFETCH(QString, stored);
    QFETCH(QVariant, value);
    QFETCH(QVariant, missing);
    QFETCH(QVariant, malformed);
    XMLAction action;
    QCOMPARE(read(action), missing);
    QCOMPARE(has(action), QVariant(false));
    write(action);
    write(action);
    const QString key = QString::fromLatin1(QTest::currentDataTag());
    QCOMPARE(dump(action.getNode()), QStringLiteral("action(%1(\"%2\"))").arg(key, stored));
    QCOMPARE(read(action), value);
    QCOMPARE(has(action), QVariant(true));
    QDomElement node = action.getNode();
    XMLObject::setProperty(node, key, QStringLiteral("zz 1"));
    QCOMPARE(read(action), malformed);
    QCOMPARE(has(action), QVariant(true));
}

void tst_XMLAction::identity()
{
    XMLAction empty;
    QVERIFY(empty.isXMLAction());
    QCOMPARE(dump(empty.getNode()), QStringLiteral("action"));
    QVERIFY(empty.getName().isEmpty());
    QCOMPARE(empty.getType(), 0);
    QCOMPARE(empty.getOriginator(), 0);
    XMLAction action(QStringLiteral("open"), 26, -7);
    QCOMPARE(dump(action.getNode()), QStringLiteral("action[name=open originator=-7 type=26]"));
    QCOMPARE(action.getName(), QStringLiteral("open"));
    QCOMPARE(action.getType(), 26);
    QCOMPARE(action.getOriginator(), -7);
    action.getNode().setAttribute(QStringLiteral("type"), QStringLiteral("1a"));
    QCOMPARE(action.getType(), 0);
    action.setName(QString());
    QCOMPARE(action.getName(), QStringLiteral("open"));
    QCOMPARE(dump(XMLAction(QString(), 0, 0).getNode()), QStringLiteral("action[originator=0 type=0]"));
}

void tst_XMLAction::staticSetters()
{
    XMLAction action;
    QDomElement node = action.getNode();
    XMLAction::setVisible(node, false);
    XMLAction::setName(node, QStringLiteral("n"));
    XMLAction::setOrgName(node, QStringLiteral("o"));
    QCOMPARE(dump(node), QStringLiteral("action[name=n](visible(\"0\") org_name(\"o\"))"));
    QVERIFY(action.hasVisible() && !action.getVisible());
}

void tst_XMLAction::keys()
{
    XMLAction action;
    action.setZQKEY({1, 0xfffffff2});
    QCOMPARE(dump(action.getNode()), QStringLiteral("action(zqkey_hkey(\"fffffff2\") zqkey_key(\"1\"))"));
    QVERIFY(action.hasZQKEY());
    QCOMPARE(action.getZQKEY().key, 1u);
    QCOMPARE(action.getZQKEY().hkey, 0xfffffff2u);
    action.getNode().removeChild(action.getNode().firstChild());
    QVERIFY(!action.hasZQKEY());
    QCOMPARE(action.getZQKEY().key, 1u);
    QCOMPARE(action.getZQKEY().hkey, 0u);
    QVERIFY(!action.hasZQKEYList());
}

void tst_XMLAction::keyLists()
{
    ZQKEY_ELEMENT first{0xa3, 7};
    ZQKEY_ELEMENT second{0xffffffff, 0};
    XMLAction action;
    action.setZQKEYList({&first, nullptr, &second});
    QCOMPARE(dump(action.getNode()),
             QStringLiteral("action(zqkey_hkey_list(\"7 0\") zqkey_key_list(\"a3 ffffffff\"))"));
    QList<ZQKEY_ELEMENT> read;
    QCOMPARE(keysOf(action, read).size(), 2);
    QCOMPARE(read.at(0).key, 0xa3u);
    QCOMPARE(read.at(0).hkey, 7u);
    QCOMPARE(read.at(1).key, 0xffffffffu);

    QDomElement node = action.getNode();
    XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), QStringLiteral("1 2 3"));
    read.clear();
    QCOMPARE(keysOf(action, read).size(), 2);
    XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), QStringLiteral("1 z 3"));
    QVERIFY(action.hasZQKEYList());
    QCOMPARE(action.getZQKEYList().size(), 0);
    action.setZQKEYList({});
    QVERIFY(action.hasZQKEYList());
    QCOMPARE(dump(node), QStringLiteral("action(zqkey_hkey_list(\"\") zqkey_key_list(\"\"))"));
    QVERIFY(action.getZQKEYList().isEmpty());
    node.removeChild(node.lastChild());
    QVERIFY(!action.hasZQKEYList());
}

void tst_XMLAction::plainFields()
{
    XMLAction action;
    QVERIFY(action.rect().isNull() && action.textRect().isNull() && !action.actionGroup());
    action.setRect(10, 20, 30, 40);
    action.setTextRect(1, 2, 3, 4);
    action.setNode(XMLAction(QStringLiteral("n"), 1, 1).getNode());
    QCOMPARE(action.rect(), QRect(QPoint(10, 20), QPoint(39, 59)));
    QCOMPARE(action.textRect(), QRect(1, 2, 3, 4));
    QCOMPARE(dump(action.getNode()), QStringLiteral("action[name=n originator=1 type=1]"));
}

void tst_XMLAction::checking()
{
    XMLAction action;
    QSignalSpy toggled(&action, &XMLAction::toggled);
    bool asked = false;
    connect(&action, &XMLAction::toggling, &action, [&asked](bool &) { asked = true; });
    action.setCheckable(false);
    action.setChecked(true);
    action.setChecked(true);
    action.toggle();
    action.toggle();
    QCOMPARE(toggled, (QList<QVariantList>{{true}, {true}, {false}, {true}}));
    QVERIFY(!asked);
    action.setEnabled(false);
    QCOMPARE(toggled.count(), 4);

    // What cannot be written is not claimed to be: a property that was parsed empty stays so.
    QDomDocument document;
    QVERIFY(document.setContent(QByteArray("<action><checked/></action>")));
    action.setNode(document.documentElement());
    action.setChecked(true);
    QCOMPARE(toggled.last(), QVariantList{false});
    QVERIFY(!action.isChecked());
}

void tst_XMLAction::metaObject()
{
    const QMetaObject &meta = XMLAction::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        methods << QString::fromLatin1(method.methodSignature()) + QLatin1Char(' ')
                + QString::fromLatin1(method.parameterNames().value(0))
                + (method.methodType() == QMetaMethod::Signal ? QStringLiteral(" signal") : QStringLiteral(" slot"));
        QCOMPARE(method.access(), QMetaMethod::Public);
    }
    QCOMPARE(methods,
             (QStringList{QStringLiteral("toggled(bool) checked signal"),
                          QStringLiteral("toggling(bool&) cancel signal"), QStringLiteral("toggle()  slot"),
                          QStringLiteral("setChecked(bool) b slot"), QStringLiteral("setEnabled(bool) b slot")}));
    XMLAction action;
    QCOMPARE(action.qt_metacast("XMLAction"), static_cast<void *>(&action));
    QVERIFY(!action.qt_metacast("XMLObject"));
}

void tst_XMLAction::content()
{
    XMLAction action;
    TextRecord record(QByteArray("SL 1\nTL 0\n"));
    const QDomElement first = action.append(record);
    XMLPacketable object;
    object.setName(QStringLiteral("n"));
    const QDomElement second = action.append(object);
    object.setName(QStringLiteral("changed"));
    QVERIFY(action.getNode().firstChild() == first && action.getNode().lastChild() == second);
    QCOMPARE(dump(action.getNode()),
             QStringLiteral("action(packetable[datatype=1f](list[size=1]) packetable[name=n])"));
    QVERIFY(action.hasNodesOfType(XMLObject::XML_PACKETABLE));
    std::list<QDomNode> found;
    QCOMPARE(action.getNodesOfType(XMLObject::XML_PACKETABLE, found), 2);
    action.setVisible(true);
    action.removeNodesOfType(XMLObject::XML_PACKETABLE);
    QCOMPARE(dump(action.getNode()), QStringLiteral("action(visible(\"1\"))"));
}

QTEST_GUILESS_MAIN(tst_XMLAction)
#include "tst_xmlaction.moc"
