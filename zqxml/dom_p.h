// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_DOM_P_H
#define ZQXML_DOM_P_H

#include <QDomDocument>

#include <algorithm>

/**
 * \file
 * Every element and text node of this library is made here. Record elements are named by numbers, and the toolkit would
 * refuse or cut such a name, depending on a policy of the process. It asks for the policy when it makes a node, and not
 * when it changes one: so each is made with what no policy minds, and then given its name or text.
 */

namespace zqxml {

/** Returns a new element \a name of no namespace, which hangs nowhere; null for an empty name. */
inline QDomElement newElement(QDomDocument &document, const QString &name)
{
    if (name.isEmpty())
        return QDomElement();
    QDomElement element = document.createElement(QStringLiteral("e"));
    element.setTagName(name);
    return element;
}

/** Returns a new element \a qualifiedName in \a namespaceURI, which hangs nowhere; null for an empty local name. */
inline QDomElement newElement(QDomDocument &document, const QString &namespaceURI, const QString &qualifiedName)
{
    const auto colon = qualifiedName.indexOf(QLatin1Char(':'));
    if (colon + 1 == qualifiedName.size())
        return QDomElement();
    if (colon < 0) {
        QDomElement element = document.createElementNS(namespaceURI, QStringLiteral("e"));
        element.setTagName(qualifiedName);
        return element;
    }
    QDomElement element = document.createElementNS(namespaceURI, QStringLiteral("e:e"));
    element.setPrefix(qualifiedName.left(colon));
    element.setTagName(qualifiedName.mid(colon + 1));
    return element;
}

/** Returns a new text node, which hangs nowhere. */
inline QDomText newText(QDomDocument &document, const QString &text)
{
    QDomText node = document.createTextNode(QStringLiteral(""));
    node.setNodeValue(text);
    return node;
}

/**
 * Returns true when \a a and \a b are equal. Names and values are short and mostly equal, or even shared: the toolkit's
 * operator costs several times this.
 */
inline bool areSame(const QString &a, const QString &b)
{
    return a.size() == b.size() && (a.constData() == b.constData() || std::equal(a.cbegin(), a.cend(), b.cbegin()));
}

/**
 * Frees \a element of its link to its document, if it hangs nowhere: the toolkit keeps that link when the document
 * goes, but for elements that hang in it.
 */
inline void forgetDocumentIfAlone(const QDomElement &element)
{
    if (!element.parentNode().isNull() || element.ownerDocument().isNull())
        return;
    QDomDocument passing;
    QDomElement parent = newElement(passing, QStringLiteral("e"));
    passing.appendChild(parent);
    parent.appendChild(element);
}

/** Returns the text() of the element \a n, never null; shares the string of a single text node instead of copying it.
 */
inline QString textOf(const QDomNode &n)
{
    const QDomNode first = n.firstChild();
    if (first.nodeType() != QDomNode::TextNode || !first.nextSibling().isNull())
        return n.toElement().text();
    const QString value = first.nodeValue();
    return value.isNull() ? QStringLiteral("") : value;
}

} // namespace zqxml

#endif
