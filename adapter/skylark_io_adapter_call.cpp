#include "adapter/skylark_io_adapter_call.h"

#include <algorithm>
#include <iterator>

namespace KORVA::DTC {

Call::Place Call::s_places[placeCount];
std::atomic<bool> Call::s_ended{false};

bool Call::isUnderWay(void const* object)
{
    return std::any_of(std::begin(s_places), std::end(s_places), [object](Place const& place) {
        return place.object.load() == object && place.thread.load() != pthread_self();
    });
}

bool Call::isUnderWay()
{
    return std::any_of(std::begin(s_places), std::end(s_places), [](Place const& place) {
        return place.object.load() != nullptr && place.thread.load() != pthread_self();
    });
}

bool Call::isInterrupted()
{
    return std::any_of(std::begin(s_places), std::end(s_places),
                       [](Place const& place) { return place.thread.load() == pthread_self(); });
}

void Call::forgetOtherThreads()
{
    for (Place& place : s_places) {
        if (place.thread != pthread_self())
            place.object = nullptr;
    }
}

} // namespace KORVA::DTC
