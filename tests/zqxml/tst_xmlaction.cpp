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

template <typename T>
QVariant toVariant(const T &value)
{
    return value;
}

QVariant toVariant(const QList<int> &ids)
{
    return QVariantList(ids.cbegin(), ids.cend());
}

} // namespace

class tst_XMLAction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void properties_data();
    void properties();
    void identity();
    void keys();
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
    const QList<int> ids{10, 255};
    const QVariantList none;

#define ROW(key, Name, get, argument, stored, value, missing, malformed)                                               \
    QTest::newRow(key) << Action([=](XMLAction &a) { a.set##Name(argument); })                                         \
                       << Value([](XMLAction &a) { return toVariant(a.get()); })                                       \
                       << Value([](XMLAction &a) { return QVariant(a.has##Name()); }) << QString::fromLatin1(stored)   \
                       << toVariant(value) << QVariant(missing) << QVariant(malformed)
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
    ROW("jobids", JobIDs, getJobIDs, ids, "a ff", ids, none, none);
    ROW("zqjobids", ZQJobIDs, getZQJobIDs, ids, "a ff", ids, none, none);
#undef ROW
    const QString name = QStringLiteral("\u00e4");
    QTest::newRow("org_name") << Action([name](XMLAction &a) { a.setOrgName(name); })
                              << Value([](XMLAction &a) { return QVariant(a.getOrgName()); })
                              << Value([](XMLAction &a) { return QVariant(!a.getOrgName().isNull()); }) << name
                              << QVariant(name) << QVariant(QString()) << QVariant(QStringLiteral("zz 1"));
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
    XMLAction action;
    QCOMPARE(dump(action.getNode()), QStringLiteral("action"));
    QVERIFY(action.getName().isEmpty() && action.getType() == 0 && action.getOriginator() == 0);
    QVERIFY(action.rect().isNull() && action.textRect().isNull() && !action.actionGroup());
    action.setRect(10, 20, 30, 40);
    action.setTextRect(1, 2, 3, 4);
    action.setNode(XMLAction(QStringLiteral("open"), 26, -7).getNode());
    QCOMPARE(action.rect(), QRect(QPoint(10, 20), QPoint(39, 59)));
    QCOMPARE(action.textRect(), QRect(1, 2, 3, 4));
    QCOMPARE(dump(action.getNode()), QStringLiteral("action[name=open originator=-7 type=26]"));
    action.setName(QString());
    QCOMPARE(action.getName(), QStringLiteral("open"));
    QVERIFY(action.getType() == 26 && action.getOriginator() == -7);
    action.getNode().setAttribute(QStringLiteral("type"), QStringLiteral("1a"));
    QCOMPARE(action.getType(), 0);
    QCOMPARE(dump(XMLAction(QString(), 0, 0).getNode()), QStringLiteral("action[originator=0 type=0]"));
    XMLAction other;
    QDomElement node = other.getNode();
    XMLAction::setVisible(node, false);
    XMLAction::setName(node, QStringLiteral("n"));
    XMLAction::setOrgName(node, QStringLiteral("o"));
    QCOMPARE(dump(node), QStringLiteral("action[name=n](visible(\"0\") org_name(\"o\"))"));
    XMLObject::setProperty(node, QStringLiteral("visible"), QString());
    QVERIFY2(!other.getVisible(), "what is empty is not missing");
}

void tst_XMLAction::keys()
{
    XMLAction single;
    single.setZQKEY({1, 0xfffffff2});
    QCOMPARE(dump(single.getNode()), QStringLiteral("action(zqkey_hkey(\"fffffff2\") zqkey_key(\"1\"))"));
    QVERIFY(single.hasZQKEY() && !single.hasZQKEYList());
    QVERIFY(single.getZQKEY().key == 1 && single.getZQKEY().hkey == 0xfffffff2);
    single.getNode().removeChild(single.getNode().firstChild());
    QVERIFY(!single.hasZQKEY() && single.getZQKEY().key == 1 && single.getZQKEY().hkey == 0);

    XMLAction action;
    QDomElement node = action.getNode();
    const auto keysOf = [&action] {
        QStringList texts;
        for (const ZQKEY_ELEMENT *const key : action.getZQKEYList()) {
            texts << QStringLiteral("%1:%2").arg(key->key, 0, 16).arg(key->hkey, 0, 16);
            delete key;
        }
        return texts.join(QLatin1Char(' '));
    };
    ZQKEY_ELEMENT first{0xa3, 7};
    ZQKEY_ELEMENT second{0xffffffff, 0};
    action.setZQKEYList({&first, nullptr, &second});
    QCOMPARE(dump(node), QStringLiteral("action(zqkey_hkey_list(\"7 0\") zqkey_key_list(\"a3 ffffffff\"))"));
    QCOMPARE(keysOf(), QStringLiteral("a3:7 ffffffff:0"));
    XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), QStringLiteral("1 2 3"));
    QCOMPARE(keysOf(), QStringLiteral("a3:1 ffffffff:2"));
    XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), QStringLiteral("1 z 3"));
    QVERIFY(action.hasZQKEYList() && keysOf().isEmpty());
    action.setZQKEYList({});
    QCOMPARE(dump(node), QStringLiteral("action(zqkey_hkey_list(\"\") zqkey_key_list(\"\"))"));
    QVERIFY(action.hasZQKEYList() && keysOf().isEmpty());
    node.removeChild(node.lastChild());
    QVERIFY(!action.hasZQKEYList());
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
        methods << QString::fromLatin1(method.methodSignature() + ' ' + method.parameterNames().value(0));
        QCOMPARE(method.methodType(), i < meta.methodOffset() + 2 ? QMetaMethod::Signal : QMetaMethod::Slot);
        QCOMPARE(method.access(), QMetaMethod::Public);
    }
    QCOMPARE(methods.join(QLatin1Char('|')),
             QStringLiteral("toggled(bool) checked|toggling(bool&) cancel|toggle() |"
                            "setChecked(bool) b|setEnabled(bool) b"));
    // XMLObject has no meta-object of its own.
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
}

void tst_XMLAction::content()
{
    XMLAction action;
    TextRecord record(QByteArray("SL 1\n"));
    XMLPacketable object;
    QCOMPARE(dump(action.append(record)), QStringLiteral("packetable[datatype=1f](list[size=1])"));
    const QDomElement copy = action.append(object);
    object.setName(QStringLiteral("changed"));
    QVERIFY(action.getNode().lastChild() == copy && !copy.hasAttributes());
    std::list<QDomNode> found;
    QCOMPARE(action.getNodesOfType(XMLObject::XML_PACKETABLE, found), 2);
    action.setVisible(true);
    action.removeNodesOfType(XMLObject::XML_PACKETABLE);
    QVERIFY(!action.hasNodesOfType(XMLObject::XML_PACKETABLE) && action.hasVisible());
}

ZQXML_TEST_MAIN(tst_XMLAction)
#include "tst_xmlaction.moc"
