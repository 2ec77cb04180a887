// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "samples.h"

#include <zqxml/xmlobject.h>

#include <array>

namespace {

// Twenty properties as an action has them: texts, flags, decimal and hexadecimal numbers, a fraction, lists.
constexpr int TEXTS = 8;
constexpr int FLAGS = 4;
constexpr int NUMBERS = 3;
constexpr int UNSIGNED = 2;
constexpr int PROPERTIES = TEXTS + FLAGS + NUMBERS + UNSIGNED + 3;

struct Keys {
    Keys()
    {
        for (std::size_t i = 0; i < names.size(); ++i)
            names[i] = QStringLiteral("property_%1").arg(i);
    }

    std::array<QString, PROPERTIES> names;
};

const Keys keys;
const QString someText = QStringLiteral("Front cover, outside");
const QList<int> numbers{1, 20, 300};
const QList<unsigned int> keyHalves{0xa3, 0x7, 0x9e3779b9};

/** Sets and reads all properties through \a Access; returns what was read, added up. */
template <typename Access>
qint64 useProperties(QDomElement &e)
{
    auto key = keys.names.cbegin();
    for (int i = 0; i < TEXTS; ++i)
        Access::set(e, *key++, someText);
    for (int i = 0; i < FLAGS; ++i)
        Access::set(e, *key++, i % 2 == 0);
    for (int i = 0; i < NUMBERS; ++i)
        Access::set(e, *key++, -100 * i);
    for (unsigned int i = 0; i < UNSIGNED; ++i)
        Access::set(e, *key++, 0xabcdefu * i, 16);
    Access::set(e, *key++, 0.35);
    Access::set(e, *key++, numbers, 16);
    Access::set(e, *key++, keyHalves, 16);

    key = keys.names.cbegin();
    qint64 sum = 0;
    for (int i = 0; i < TEXTS; ++i)
        sum += Access::getText(e, *key++).size();
    for (int i = 0; i < FLAGS; ++i)
        sum += Access::getBool(e, *key++);
    for (int i = 0; i < NUMBERS; ++i)
        sum += Access::getInt(e, *key++);
    for (int i = 0; i < UNSIGNED; ++i)
        sum += Access::getUInt(e, *key++, 16);
    sum += qRound64(100 * Access::getDouble(e, *key++));
    sum += Access::getLongList(e, *key++, 16).at(1);
    sum += Access::getULongList(e, *key++, 16).at(2);
    return sum;
}

struct Ours {
    template <typename... Value>
    static void set(QDomElement &e, const QString &key, const Value &...value)
    {
        XMLObject::setProperty(e, key, value...);
    }

    static QString getText(const QDomElement &e, const QString &key)
    {
        return XMLObject::getProperty(e, key);
    }

    static bool getBool(const QDomElement &e, const QString &key)
    {
        return XMLObject::getPropertyBool(e, key);
    }

    static int getInt(const QDomElement &e, const QString &key)
    {
        return XMLObject::getPropertyInt(e, key);
    }

    static unsigned int getUInt(const QDomElement &e, const QString &key, int base)
    {
        return XMLObject::getPropertyUInt(e, key, base);
    }

    static double getDouble(const QDomElement &e, const QString &key)
    {
        return XMLObject::getPropertyDouble(e, key);
    }

    static QList<int> getLongList(const QDomElement &e, const QString &key, int base)
    {
        return XMLObject::getPropertyLongList(e, key, base);
    }

    static QList<unsigned int> getULongList(const QDomElement &e, const QString &key, int base)
    {
        return XMLObject::getPropertyULongList(e, key, base);
    }
};

/** Conversions between values and texts, over a Dom that sets and reads a text. */
template <typename Dom>
struct Converting {
    static void set(QDomElement &e, const QString &key, const QString &value)
    {
        Dom::setText(e, key, value);
    }

    static void set(QDomElement &e, const QString &key, bool value)
    {
        Dom::setText(e, key, value ? QStringLiteral("1") : QStringLiteral("0"));
    }

    static void set(QDomElement &e, const QString &key, int value)
    {
        Dom::setText(e, key, QString::number(value));
    }

    static void set(QDomElement &e, const QString &key, unsigned int value, int base)
    {
        Dom::setText(e, key, QString::number(value, base));
    }

    static void set(QDomElement &e, const QString &key, double value)
    {
        Dom::setText(e, key, QString::number(value, 'g', 6));
    }

    template <typename Number>
    static void set(QDomElement &e, const QString &key, const QList<Number> &values, int base)
    {
        Dom::setText(e, key, Dom::join(values, base));
    }

    static QString getText(const QDomElement &e, const QString &key)
    {
        return Dom::text(e, key);
    }

    static bool getBool(const QDomElement &e, const QString &key)
    {
        return Dom::text(e, key).toInt() == 1;
    }

    static int getInt(const QDomElement &e, const QString &key)
    {
        return Dom::text(e, key).toInt();
    }

    static unsigned int getUInt(const QDomElement &e, const QString &key, int base)
    {
        return Dom::text(e, key).toUInt(nullptr, base);
    }

    static double getDouble(const QDomElement &e, const QString &key)
    {
        return Dom::text(e, key).toDouble();
    }

    static QList<int> getLongList(const QDomElement &e, const QString &key, int base)
    {
        return Dom::template split<int>(Dom::text(e, key), base);
    }

    static QList<unsigned int> getULongList(const QDomElement &e, const QString &key, int base)
    {
        return Dom::template split<unsigned int>(Dom::text(e, key), base);
    }
};

/** The obvious way: looks before it reads, attaches before it fills, goes through lists of texts. */
struct PlainDom {
    static void setText(QDomElement &e, const QString &key, const QString &value)
    {
        QDomElement property = XMLObject::getElement(e, key);
        if (property.isNull()) {
            property = XMLObject::createElement(e, key);
            XMLObject::createTextNodeV(property, value);
            return;
        }
        const QDomNodeList children = property.childNodes();
        for (int i = 0; i < children.length(); ++i) {
            if (children.at(i).nodeType() == QDomNode::TextNode) {
                children.at(i).toText().setData(value);
                return;
            }
        }
    }

    static QString text(const QDomElement &e, const QString &key)
    {
        return XMLObject::hasProperty(e, key) ? XMLObject::getElement(e, key).text() : QString();
    }

    template <typename Number>
    static QString join(const QList<Number> &values, int base)
    {
        QStringList texts;
        for (const Number value : values)
            texts << QString::number(value, base);
        return texts.join(XMLObject::NUMLIST_SEP);
    }

    template <typename Number>
    static QList<Number> split(const QString &text, int base)
    {
        QList<Number> values;
        for (const QString &part : text.split(XMLObject::NUMLIST_SEP, Qt::SkipEmptyParts)) {
            bool ok = false;
            const auto value = part.toLongLong(&ok, base);
            if (ok)
                values << static_cast<Number>(value);
        }
        return values;
    }
};

/** The calls into the DOM, once each; the conversions are Qt's own, and those of lists ours. */
struct FloorDom {
    static void setText(QDomElement &e, const QString &key, const QString &value)
    {
        if (!e.namedItem(key).isNull())
            return;
        QDomDocument document = e.ownerDocument();
        QDomElement property = document.createElement(key);
        property.appendChild(document.createTextNode(value));
        e.appendChild(property);
    }

    static QString text(const QDomElement &e, const QString &key)
    {
        return e.namedItem(key).firstChild().nodeValue();
    }

    template <typename Number>
    static QString join(const QList<Number> &values, int base)
    {
        return XMLObject::toString(values, base);
    }

    template <typename Number>
    static QList<Number> split(const QString &text, int base)
    {
        if constexpr (std::is_same_v<Number, int>)
            return XMLObject::toLongList(text, nullptr, base);
        else
            return XMLObject::toULongList(text, nullptr, base);
    }
};

template <typename Access>
qint64 makeAndUseProperties()
{
    const XMLObject object(XMLObject::XML_ACTION);
    QDomElement node = object.getNode();
    return useProperties<Access>(node);
}

template <typename Access>
QString treeOfProperties()
{
    const XMLObject object(XMLObject::XML_ACTION);
    QDomElement node = object.getNode();
    useProperties<Access>(node);
    return dump(node);
}

void checkProperties()
{
    static bool checked = false;
    if (checked)
        return;
    checked = true;
    require(makeAndUseProperties<Ours>() == makeAndUseProperties<Converting<PlainDom>>()
                && makeAndUseProperties<Ours>() == makeAndUseProperties<Converting<FloorDom>>(),
            "the forms of the properties read different values");
    require(treeOfProperties<Ours>() == treeOfProperties<Converting<PlainDom>>()
                && treeOfProperties<Ours>() == treeOfProperties<Converting<FloorDom>>(),
            "the forms of the properties build different trees");
}

template <typename Access>
void addForm(const std::string &form)
{
    add("properties/" + form + '/' + std::to_string(PROPERTIES), [](benchmark::State &) {
        checkProperties();
        return makeAndUseProperties<Access>;
    });
}

/** What an object cannot do without: being a QObject, and the calls that make its document and its element. */
class FloorObject : public QObject
{
public:
    FloorObject()
    {
        QDomElement root = document.createElementNS(QStringLiteral(""), QStringLiteral("dummydoc"));
        node = document.createElement(QStringLiteral("action"));
        root.appendChild(node);
        document.appendChild(root);
    }

    QDomDocument document;
    QDomElement node;
};

} // namespace

void addObjects()
{
    addForm<Ours>("ours");
    addForm<Converting<FloorDom>>("floor");
    addForm<Converting<PlainDom>>("plain");

    add("object/ours/1", [](benchmark::State &) {
        return [] {
            const XMLObject object(XMLObject::XML_ACTION);
            return object.isXMLAction();
        };
    });
    add("object/floor/1", [](benchmark::State &) {
        const XMLObject object(XMLObject::XML_ACTION);
        require(dump(FloorObject().document) == dump(object.getNodeConst().ownerDocument()),
                "the floor of an object builds another tree");
        return [] {
            const FloorObject floor;
            return floor.node.isNull();
        };
    });
}
