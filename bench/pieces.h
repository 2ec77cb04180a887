// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_PIECES_H
#define BENCH_PIECES_H

#include <QByteArray>
#include <QDomDocument>
#include <QString>

#include <set>
#include <vector>

/**
 * The prepared pieces of a tree, from which the floors are made: the calls into the DOM that a tree costs, without
 * anything that leads to them.
 */
class Pieces
{
public:
    /** Takes the children of \a element apart. */
    explicit Pieces(const QDomElement &element);

    /** Builds the tree under \a parent: names are shared, values made from bytes, elements filled before attached. */
    void build(QDomElement &parent) const;

    /** Appends the packet text of the tree under \a parent, whose shape is the pieces', to \a text. */
    void write(QString &text, const QDomElement &parent) const;

    /** Returns true when the two trees, both of the pieces' shape, hold the same. */
    bool areSame(const QDomNode &a, const QDomNode &b) const;

    /** Returns the names of the fields: what a conversion must make once, and the pieces have made before. */
    std::set<QString> fieldNames() const;

private:
    enum Shape { Container, Simple, Key, Array, Binary, Text };

    /** A text as the bytes that it is made from. */
    struct Value {
        QByteArray bytes;
        bool isAscii;
    };

    struct Attribute {
        QString name;
        Value value;
    };

    struct Piece {
        Shape shape;
        QString name; ///< of an element
        QString start; ///< of a container's or an array's text: the marker, or the count
        QString separator; ///< of an array's values
        std::vector<Attribute> attributes;
        Value text; ///< of a text node
        std::vector<Piece> children;
    };

    static Value take(const QString &text);
    static QString make(const Value &value);
    QString shared(const QString &name);
    Piece take(const QDomNode &n);
    static QDomNode make(QDomDocument &document, const Piece &piece);
    static void writeChildren(QString &text, const QDomNode &parent, const std::vector<Piece> &pieces);
    static void writeArray(QString &text, const QDomElement &array, const Piece &piece);
    static bool areSame(const QDomNode &a, const QDomNode &b, const Piece &piece);

    std::set<QString> names;
    std::vector<Piece> top;
};

#endif
