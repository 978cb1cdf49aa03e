// SPDX-License-Identifier: MIT
#include "Measurement.h"

#include <QJsonArray>

#include <functional>
#include <utility>

namespace KivBenchmark {

namespace {

template <typename Value, typename Figure>
QJsonArray ListOf(const std::vector<Value>& values, const Figure& figure)
{
    QJsonArray list;
    for (const Value& value : values) {
        list.append(std::invoke(figure, value));
    }
    return list;
}

} // namespace

Measurement::Measurement(FrameClock& clock)
    : m_Clock(clock),
      m_Wall(Now()),
      m_Cpu(ProcessCpu())
{
    m_Clock.TakeFrames();
    m_Clock.TakeTurns();
}

QJsonObject Measurement::Result()
{
    QJsonObject result{{"wall", Now() - m_Wall}, {"cpu", ProcessCpu() - m_Cpu}};
    const std::vector<Frame> frames = m_Clock.TakeFrames();
    const std::pair<const char*, qint64 Frame::*> parts[] = {
        {"polish", &Frame::polish}, {"sync", &Frame::sync},   {"render", &Frame::render},
        {"swap", &Frame::swap},     {"total", &Frame::total}, {"frameCpu", &Frame::cpu},
        {"logged", &Frame::logged}};
    for (const auto& [name, part] : parts) {
        result.insert(name, ListOf(frames, part));
    }
    result.insert("turns", ListOf(m_Clock.TakeTurns(), [](Turn turn) { return turn; }));
    return result;
}

} // namespace KivBenchmark
