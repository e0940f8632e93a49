// The compact and the indented form, written to a stream piece by piece. Levels are kept on a list instead of the call
// stack.

#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>

#include "json/JsonText.h"
#include "json/cJsonParts.h"

#include <QtCore/QDebug>
#include <QtCore/QIODevice>
#include <QtCore/QTextStream>
#include <QtCore/QVarLengthArray>

namespace {

/// An array or object that is being written, and what comes next in it.
struct OpenLevel
{
    const cJsonValue* value;
    int index;
    QMap<QString, cJsonValue>::const_iterator member;

    explicit OpenLevel(const cJsonValue& v) : value(&v), index(0), member(cJsonParts::object(v).constBegin()) {}
    OpenLevel() : value(nullptr), index(0) {}

    bool isArray() const { return value->isArray(); }
    bool isAtEnd() const
    {
        return isArray() ? index == cJsonParts::array(*value).size() : index == cJsonParts::object(*value).size();
    }
    const cJsonValue& child() const { return isArray() ? cJsonParts::array(*value).at(index) : member.value(); }
    void advance()
    {
        if (!isArray())
            ++member;
        ++index;
    }
};

using OpenLevels = QVarLengthArray<OpenLevel, 64>;

void writeScalar(QTextStream& s, const cJsonValue& v)
{
    switch (v.type()) {
    case NullType:
        s << "null";
        return;
    case IntType:
        s << v.toInt();
        return;
    case UIntType:
        s << v.toUInt();
        return;
    case DoubleType:
        s << v.toDouble();
        return;
    case StringType:
        s << '"' << JsonText::escaped(cJsonParts::string(v)) << '"';
        return;
    case BooleanType:
        s << (v.toBool() ? "true" : "false");
        return;
    default:
        qFatal("switch statement not complete!");
    }
}

void pad(QTextStream& s, qint64 level, int indent)
{
    static const QString spaces(64, QLatin1Char(' '));
    for (qint64 left = level > 0 && indent > 0 ? level * indent : 0; left > 0; left -= spaces.size())
        s << spaces.left(int(qMin<qint64>(left, spaces.size())));
}

void indentMember(QTextStream& s, const OpenLevel& open, qint64 level, int indent)
{
    pad(s, level, indent);
    if (open.isArray())
        return;
    s << '"' << open.member.key() << "\" : ";
    if (cJsonParts::isNested(open.child())) {
        s << Qt::endl;
        pad(s, level, indent);
    }
}

} // namespace

QTextStream& cJsonValue::serialize(QTextStream& s) const
{
    if (!cJsonParts::isNested(*this)) {
        writeScalar(s, *this);
        return s;
    }
    OpenLevels levels;
    levels.append(OpenLevel(*this));
    s << (isArray() ? '[' : '{');
    while (!levels.isEmpty()) {
        OpenLevel& top = levels.last();
        if (top.isAtEnd()) {
            s << (top.isArray() ? ']' : '}');
            levels.removeLast();
            continue;
        }
        if (top.index > 0)
            s << ',';
        if (!top.isArray())
            s << '"' << top.member.key() << "\":";
        const cJsonValue& child = top.child();
        top.advance();
        if (cJsonParts::isNested(child)) {
            s << (child.isArray() ? '[' : '{');
            levels.append(OpenLevel(child));
        } else {
            writeScalar(s, child);
        }
    }
    return s;
}

void cJsonValue::prettySerialize(QTextStream& s, int indent, int level) const
{
    if (!cJsonParts::isNested(*this)) {
        writeScalar(s, *this);
        return;
    }
    OpenLevels levels;
    levels.append(OpenLevel(*this));
    s << (isArray() ? '[' : '{') << Qt::endl;
    while (!levels.isEmpty()) {
        OpenLevel& top = levels.last();
        const qint64 depth = qint64(level) + levels.size();
        if (top.isAtEnd()) {
            if (top.index > 0)
                s << Qt::endl;
            pad(s, depth - 1, indent);
            s << (top.isArray() ? ']' : '}');
            levels.removeLast();
            continue;
        }
        if (top.index > 0)
            s << ',' << Qt::endl;
        indentMember(s, top, depth, indent);
        const cJsonValue& child = top.child();
        top.advance();
        if (cJsonParts::isNested(child)) {
            s << (child.isArray() ? '[' : '{') << Qt::endl;
            levels.append(OpenLevel(child));
        } else {
            writeScalar(s, child);
        }
    }
}

QString cJsonValue::prettyPrint(int indent) const
{
    QString text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    prettySerialize(stream, indent, 0);
    stream.flush();
    return text;
}

QTextStream& operator<<(QTextStream& s, const cJsonValue& v)
{
    return v.serialize(s);
}

QDebug operator<<(QDebug debug, const cJsonValue& v)
{
    QString text; // as it is: neither the quotes of the stream nor the codec of the locale
    QTextStream stream(&text);
    v.serialize(stream);
    stream.flush();
    {
        const QDebugStateSaver saver(debug); // gone before the stream is moved to the caller
        debug.noquote() << text;
    }
    return debug;
}
