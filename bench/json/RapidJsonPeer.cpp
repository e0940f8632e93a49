#include "Peer.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace {

using Json = rapidjson::GenericDocument<rapidjson::UTF8<>>;

class RapidJsonPeer : public Peer
{
public:
    const char* name() const override { return "rapidjson"; }

    bool read(const QByteArray& text) override
    {
        Json document;
        return parse(document, text);
    }

    bool keep(const QByteArray& text) override
    {
        m_document = std::make_unique<Json>();
        return parse(*m_document, text);
    }

    size_t write() override
    {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        m_document->Accept(writer);
        return buffer.GetSize();
    }

    size_t countValues() const override { return count(*m_document); }
    void drop() override { m_document.reset(); }

private:
    static bool parse(Json& document, const QByteArray& text)
    {
        document.Parse<rapidjson::kParseFullPrecisionFlag>(text.constData(), size_t(text.size()));
        return !document.HasParseError();
    }

    static size_t count(const Json::ValueType& value)
    {
        size_t values = 1;
        if (value.IsArray()) {
            for (const auto& element : value.GetArray())
                values += count(element);
        } else if (value.IsObject()) {
            for (const auto& member : value.GetObject())
                values += count(member.value);
        }
        return values;
    }

    std::unique_ptr<Json> m_document;
};

} // namespace

std::unique_ptr<Peer> makeRapidJsonPeer()
{
    return std::make_unique<RapidJsonPeer>();
}
