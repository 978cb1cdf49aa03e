// SPDX-License-Identifier: MIT
#include "Panel.h"

#include <CallRecorder.h>
#include <FakeAdaptorConnection.h>
#include <FakeServiceProviderProxyFactory.h>
#include <FakeServiceRegistrator.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QLatin1String>

#include <cstdio>
#include <cstring>

using namespace Audio::Utils::Kiv::QtDbus;
using namespace Audio::Utils::Kiv::QtDbus::Testing;

namespace {

int failures = 0;

void Check(bool isTrue, const char* what)
{
    if (!isTrue) {
        std::fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

#define CHECK(condition) Check(condition, #condition)

struct Fixture
{
    Fixture()
    {
        FakeExchange& service = factory.Exchange();
        service.Answer(QStringLiteral("openSession"), QStringLiteral("{\"sessionId\":7}"));
        service.Answer(QStringLiteral("closeSession"), QStringLiteral("{}"));
        service.Answer(QStringLiteral("getModeList"), QStringLiteral("{\"modeList\":[\"Radio\",\"Video\"]}"));
        service.Answer(QStringLiteral("getMode"), QStringLiteral("{\"currentMode\":[\"Radio\"]}"));
    }

    bool Start(Panel& panel)
    {
        return factory.ServiceAppears(panel.Client()) == KivBaseClient::INIT_STATE_SUCCESS;
    }

    CallRecorder calls;
    FakeServiceRegistrator registrator{QStringLiteral("com.quorvantel.audioclient.panel"), &calls};
    FakeAdaptorConnection connection{&calls};
    FakeServiceProviderProxyFactory factory{&calls};
};

bool WaitForStatus(const Panel& panel, const char* status)
{
    const QDeadlineTimer watchdog(30000);
    while (std::strcmp(panel.Status(), status) != 0 && !watchdog.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1000);
    }
    return std::strcmp(panel.Status(), status) == 0;
}

void BlockingAnswer()
{
    Fixture fixture;
    Panel panel(fixture.registrator, fixture.connection, fixture.factory);
    CHECK(fixture.Start(panel));
    CHECK(panel.Refresh());
    CHECK(panel.Title() == QLatin1String("Radio"));
}

void BlockingError()
{
    Fixture fixture;
    Panel panel(fixture.registrator, fixture.connection, fixture.factory);
    CHECK(fixture.Start(panel));
    fixture.factory.Exchange().Fail(QStringLiteral("getMode"), QStringLiteral("broken"));
    CHECK(!panel.Refresh());
    CHECK(panel.Title() == QLatin1String("?"));
}

void AsynchronousSuccess()
{
    Fixture fixture;
    Panel panel(fixture.registrator, fixture.connection, fixture.factory);
    CHECK(fixture.Start(panel));
    fixture.factory.Exchange().Answer(QStringLiteral("setMode"), QStringLiteral("{}"));
    panel.Press(QStringLiteral("Video"));
    CHECK(std::strcmp(panel.Status(), "waiting") == 0);
    CHECK(WaitForStatus(panel, "set"));
    CHECK(panel.Title().isEmpty());
    panel.Client().Request(QStringLiteral("onModeChange"),
                           QStringLiteral("{\"sessionId\":7,\"activeMode\":\"Video\"}"));
    CHECK(panel.Title() == QLatin1String("Video"));
}

void AsynchronousError()
{
    Fixture fixture;
    Panel panel(fixture.registrator, fixture.connection, fixture.factory);
    CHECK(fixture.Start(panel));
    fixture.factory.Exchange().Fail(QStringLiteral("setMode"), QStringLiteral("broken"));
    panel.Press(QStringLiteral("Video"));
    CHECK(std::strcmp(panel.Status(), "waiting") == 0);
    CHECK(WaitForStatus(panel, "refused"));

    fixture.factory.Exchange().Refuse(QStringLiteral("setMode"), QStringLiteral("no bus"));
    panel.Press(QStringLiteral("Video"));
    CHECK(std::strcmp(panel.Status(), "not sent") == 0);
}

void OrderOfCalls()
{
    Fixture fixture;
    fixture.factory.Exchange().Answer(QStringLiteral("setMode"), QStringLiteral("{}"));
    {
        Panel panel(fixture.registrator, fixture.connection, fixture.factory);
        CHECK(fixture.Start(panel));
        panel.Press(QStringLiteral("Radio"));
        CHECK(WaitForStatus(panel, "set"));
    }
    const QStringList expected{
        QStringLiteral("GetServiceName"),
        QStringLiteral("CreateProxy"),
        QStringLiteral("RegisterObject com.quorvantel.audioclient.panel /panel/ServiceProviderClient"),
        QStringLiteral("Request openSession {\"busName\":\"com.quorvantel.audioclient.panel\","
                       "\"objectPath\":\"/panel/ServiceProviderClient\"}"),
        QStringLiteral("Request getModeList {\"destination\":\"all\",\"sessionId\":7}"),
        QStringLiteral("Request getMode {\"destination\":\"all\",\"sessionId\":7}"),
        QStringLiteral("AsyncRequest setMode {\"newMode\":\"Radio\",\"sessionId\":7}"),
        QStringLiteral("Request closeSession {\"sessionId\":7}")};
    CHECK(fixture.calls.Calls() == expected);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    const QCoreApplication application(argc, argv);
    BlockingAnswer();
    BlockingError();
    AsynchronousSuccess();
    AsynchronousError();
    OrderOfCalls();
    return failures == 0 ? 0 : 1;
}
