// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_RETRYTIMER_H
#define KIV_MODELS_RETRYTIMER_H

#include <QTimer>

#include <algorithm>

namespace Audio::Utils::Kiv::Models {

/** Times out once, 100 ms after the first Again(), and later after each further one, at last after 5 s. */
class RetryTimer : public QTimer
{
public:
    explicit RetryTimer(QObject* parent)
        : QTimer(parent)
    {
        setSingleShot(true);
    }

    /** Times out later than the last time. */
    void Again()
    {
        start(m_Delay);
        m_Delay = std::min(2 * m_Delay, lastDelay);
    }

    /** Does not time out any more, and begins with the first delay anew. */
    void Reset()
    {
        stop();
        m_Delay = firstDelay;
    }

private:
    static constexpr int firstDelay = 100; // ms
    static constexpr int lastDelay = 5000; // ms

    int m_Delay = firstDelay;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_RETRYTIMER_H
