// SPDX-License-Identifier: MIT
#include <AudioModesModel.h>
#include <FocusFeed.h>

#include <QCoreApplication>

using namespace Audio::Utils::Kiv::Models;

namespace {

// A user's own model.
class Panel : public AudioModesModel
{
public:
    using AudioModesModel::AudioModesModel;
    bool requestFirst() { return requestMode(index(0).data(NameRole).toString()); }
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    Panel panel;
    FocusFeed feed;
    panel.start(); // without a bus
    feed.start();
    const bool isAsExpected = !panel.isAvailable() && !panel.requestFirst() && panel.count() == 0 &&
                              feed.limit() == 100 && !panel.lastError().isEmpty();
    return isAsExpected ? 0 : 1;
}
