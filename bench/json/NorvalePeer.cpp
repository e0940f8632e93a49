#include "Peer.h"

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>

namespace {

class NorvalePeer : public Peer
{
public:
    const char* name() const override { return "norvale"; }

    bool read(const QByteArray& text) override
    {
        cJsonValue document;
        return cJsonReader::parse(text, document);
    }

    bool keep(const QByteArray& text) override { return cJsonReader::parse(text, m_document); }
    size_t write() override { return size_t(cJsonWriter::serialize(m_document).size()); }
    size_t countValues() const override { return count(m_document); }
    void drop() override { m_document = cJsonValue(); }

private:
    static size_t count(const cJsonValue& value)
    {
        size_t values = 1;
        for (int i = 0; value.isArray() && i < int(value.size()); ++i)
            values += count(value[i]);
        for (const QString& key : value.keys())
            values += count(value[key]);
        return values;
    }

    cJsonValue m_document;
};

} // namespace

std::unique_ptr<Peer> makeNorvalePeer()
{
    return std::make_unique<NorvalePeer>();
}
