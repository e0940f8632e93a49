#include "Peer.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

class NlohmannPeer : public Peer
{
public:
    const char* name() const override { return "nlohmann"; }

    bool read(const QByteArray& text) override { return !parsed(text).is_discarded(); }

    bool keep(const QByteArray& text) override
    {
        m_document = parsed(text);
        return !m_document.is_discarded();
    }

    size_t write() override { return m_document.dump().size(); }
    size_t countValues() const override { return count(m_document); }
    void drop() override { m_document = Json(); }

private:
    static Json parsed(const QByteArray& text)
    {
        return Json::parse(text.constData(), text.constData() + text.size(), nullptr, false);
    }

    static size_t count(const Json& value)
    {
        size_t values = 1;
        if (value.is_structured()) {
            for (const Json& child : value)
                values += count(child);
        }
        return values;
    }

    Json m_document;
};

} // namespace

std::unique_ptr<Peer> makeNlohmannPeer()
{
    return std::make_unique<NlohmannPeer>();
}
