// SPDX-License-Identifier: MIT
#include "Requester.h"

namespace KivBenchmark {

std::vector<std::unique_ptr<Requester>> AllRequesters()
{
    std::vector<std::unique_ptr<Requester>> requesters;
    requesters.push_back(MakeLibraryRequester());
    requesters.push_back(MakeQtRequester());
    requesters.push_back(MakeSdBusRequester());
#ifdef KIV_HAVE_SDBUSCPP
    requesters.push_back(MakeSdbusCppRequester());
#endif
#ifdef KIV_HAVE_GDBUS
    requesters.push_back(MakeGDBusRequester());
#endif
#ifdef KIV_HAVE_LIBDBUS
    requesters.push_back(MakeLibDBusRequester());
#endif
    return requesters;
}

} // namespace KivBenchmark
