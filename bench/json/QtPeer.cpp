#include "Peer.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

class QtPeer : public Peer
{
public:
    const char* name() const override { return "qt"; }

    bool read(const QByteArray& text) override { return !QJsonDocument::fromJson(text).isNull(); }

    bool keep(const QByteArray& text) override
    {
        m_document = QJsonDocument::fromJson(text);
        return !m_document.isNull();
    }

    size_t write() override { return size_t(m_document.toJson(QJsonDocument::Compact).size()); }

    size_t countValues() const override
    {
        return m_document.isArray() ? count(m_document.array()) : count(m_document.object());
    }

    void drop() override { m_document = QJsonDocument(); }

private:
    static size_t count(const QJsonValue& value)
    {
        size_t values = 1;
        if (value.isArray()) {
            for (const QJsonValue& element : value.toArray())
                values += count(element);
        }
        const QJsonObject members = value.toObject();
        for (auto it = members.begin(); it != members.end(); ++it)
            values += count(it.value());
        return values;
    }

    QJsonDocument m_document;
};

} // namespace

std::unique_ptr<Peer> makeQtPeer()
{
    return std::make_unique<QtPeer>();
}
