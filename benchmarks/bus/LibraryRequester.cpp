// SPDX-License-Identifier: MIT
#include "Clients.h"
#include "JsonParameterParser.h"
#include "Requester.h"

#include <QEventLoop>

namespace KivBenchmark {

namespace {

// The small payload goes through a typed operation, the others through the public parts that operations are made of.
class LibraryRequester : public Requester
{
public:
    LibraryRequester()
    {
        QObject::connect(&m_App.client, &AudioManagerApp::SignalAudioActiveCompleted, &m_Loop,
                         [this](quint32, bool result) { Count(result); });
    }

    QString Name() const override { return "library"; }

    void Block(const Payload& payload) override
    {
        if (payload.method == "audioActive") {
            CheckAnswer(m_App.client.AudioActive(true), "library");
            return;
        }
        QString arguments;
        AddParameters(payload.parameters, arguments);
        QString result;
        CheckAnswer(m_App.client.ServiceRequest(payload.method, arguments, result), "library");
        QMap<QString, QVariant> answer;
        GetParameters(result, answer);
        CheckAnswer(answer.size() == payload.parameters.size(), "library");
    }

    void Fly(const Payload& payload, int count) override
    {
        m_Missing = count;
        for (int i = 0; i < count; ++i) {
            CheckAnswer(Start(payload) != 0, "library");
        }
        m_Loop.exec();
    }

private:
    quint32 Start(const Payload& payload)
    {
        if (payload.method == "audioActive") {
            return m_App.client.AudioActiveAsync(true);
        }
        const auto onReply = [this, size = payload.parameters.size()](
                                 bool failed, const QMap<QString, QVariant>& answer, unsigned int) {
            Count(!failed && answer.size() == size);
            return true;
        };
        return m_App.client.WatchReply(m_App.client.StartRequest(payload.method, payload.parameters), onReply,
                                       0);
    }

    void Count(bool isRight)
    {
        CheckAnswer(isRight, "library");
        if (--m_Missing == 0) {
            m_Loop.quit();
        }
    }

    App m_App;
    QEventLoop m_Loop;
    int m_Missing = 0;
};

} // namespace

std::unique_ptr<Requester> MakeLibraryRequester()
{
    return std::make_unique<LibraryRequester>();
}

} // namespace KivBenchmark
