// SPDX-License-Identifier: MIT
#include "AudioModesModel.h"
#include "AudioStream.h"
#include "FocusFeed.h"
#include "HmiListModel.h"
#include "MetaObjects.h"

using namespace Audio::Utils::Kiv::Models;
using KivAbi::Print;

/** Prints the meta-objects of the models' classes. */
int main()
{
    Print(HmiListModel::staticMetaObject);
    Print(AudioModesModel::staticMetaObject);
    Print(FocusFeed::staticMetaObject);
    Print(AudioStream::staticMetaObject);
    return 0;
}
