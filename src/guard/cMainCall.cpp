#include "guard/cMainCall.h"

cCallWatch::~cCallWatch()
{
    cMainCall::watchNone();
    cMainCall::unmark();
}

int cCallWatch::look(int elapsed)
{
    const void* const code = cMainCall::code();
    const quint64 number = cMainCall::number();
    const bool hasAnswered = m_hasAnswered.exchange(false);
    if (!code || number != m_number || hasAnswered) {
        m_number = number;
        m_silence = 0;
        return 0;
    }
    m_silence += elapsed;
    if (!m_isAsked.exchange(true)) {
        const auto answer = [this] {
            m_isAsked = false;
            m_hasAnswered = true;
        };
        QMetaObject::invokeMethod(&m_pulse, answer, Qt::QueuedConnection);
    }
    return m_silence;
}
