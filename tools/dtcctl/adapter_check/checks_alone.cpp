#include "tools/dtcctl/adapter_check/checks.h"

#include <cstring>
#include <utility>

namespace dtcctl {
namespace {

constexpr char unknownService[] = "no such service";

void versionIsFixed(CheckSide& side)
{
    char const* const version = side.adapter.getVersion();
    if (version == nullptr)
        fail("DTC_Get_Version gave null");
    expect(*version != '\0', "DTC_Get_Version gave an empty text");
    std::string const first = version;
    char const* const again = side.adapter.getVersion();
    expect(again != nullptr && again == first && version == first, "it has changed");
}

void errorIsNeverNull(CheckSide& side)
{
    expect(side.adapter.getError() != nullptr, "DTC_Get_Error gave null");
}

void expectFailure(CheckSide& side, Entry entry, DTC_IO_STATUS status)
{
    expect(status == DTC_IO_NO_CONNECTION, gave(entry, status));
    char const* const text = side.adapter.getError();
    expect(text != nullptr && *text != '\0', gave(entry, status) + " and no error text");
}

DTC_IO_STATUS createUnknown(CheckSide& side)
{
    void* handle = nullptr;
    return side.adapter.create(unknownService, &handle);
}

void unknownServiceFails(CheckSide& side)
{
    expectFailure(side, Entry::Create, createUnknown(side));
}

void openWithoutServerFails(CheckSide& side)
{
    Subject const& subject = side.subject;
    void* handle = nullptr;
    DTC_IO_STATUS const status =
        side.adapter.open(subject.address.c_str(), subject.service.c_str(), &handle);
    if (status != DTC_IO_SUCCESS)
        return expectFailure(side, Entry::Open, status);
    side.adapter.close(handle);
    bool const isFree = side.adapter.create(subject.service.c_str(), &handle) == DTC_IO_SUCCESS;
    if (!isFree)
        skip("somebody seems to serve " + subject.service + " at " + subject.address + " already");
    fail(gave(Entry::Open, status));
}

void errorStaysReadable(CheckSide& side)
{
    if (createUnknown(side) == DTC_IO_SUCCESS)
        skip("DTC_IO_Create does not fail");
    char const* const text = side.adapter.getError();
    if (text == nullptr)
        fail("DTC_Get_Error gave null");
    std::string const copy = text;
    if (side.adapter.has(Entry::GetVersion))
        side.adapter.getVersion();
    if (side.adapter.has(Entry::GetStatus))
        side.adapter.getStatus();
    char const* const again = side.adapter.getError();
    expect(again != nullptr && copy == again && copy == text,
           "it was \"" + copy + "\" and has changed without a failure");
}

/// A library that says no may have its reasons here: the service taken, no device.
void createGivesHandle(CheckSide& side)
{
    void* handle = nullptr;
    DTC_IO_STATUS const status = side.adapter.create(side.subject.service.c_str(), &handle);
    if (status != DTC_IO_SUCCESS)
        skip("it cannot serve " + side.subject.service + " here, " + gave(Entry::Create, status) +
             ", " + quotedError(side.adapter));
    expect(handle != nullptr, "DTC_IO_Create gave 0 and a null handle");
}

void serverHasIdAndState(CheckSide& side)
{
    End server = End::serve(side);
    checkIdAndState(side, server);
}

void serverWaitsForClients(CheckSide& side)
{
    End server = End::serve(side);
    checkTimeouts(server, true);
}

void serviceIsFreeAfterClose(CheckSide& side)
{
    End::serve(side).close();
    End::serve(side).close();
}

void callsStayInside(CheckSide& side)
{
    std::string loose;
    for (std::string const& name : side.adapter.looseEntries())
        loose.append(loose.empty() ? "" : ", ").append(name);
    if (!loose.empty())
        throw Finding{Result::Warning, "those of " + loose +
                                           " go to another adapter library that is there "
                                           "already: link with -Bsymbolic"};
}

/// Used before, because what a library starts at first use may keep it in the process.
void unloadingUnloads(CheckSide& side)
{
    if (side.subject.isOwnLibrary)
        skip("dtcctl itself uses this file");
    void* handle = nullptr;
    bool const canServe = side.adapter.has(Entry::Create) && side.adapter.has(Entry::Close);
    if (canServe && side.adapter.create(side.subject.service.c_str(), &handle) == DTC_IO_SUCCESS)
        side.adapter.close(handle);
    std::string const path = side.adapter.path();
    expect(side.adapter.unload(), "the dynamic loader says: " + side.adapter.error());
    if (isMapped(path))
        throw Finding{Result::Warning, "its file stays mapped: linked with -z nodelete, unique "
                                       "symbols, or thread-local data with a destructor"};
}

/// A check by one process, which leaves the library as it was.
Check alone(char const* rule, Stage stage, std::vector<Entry> entries, void (*side)(CheckSide&))
{
    return {rule, stage, stage, std::move(entries), side, nullptr};
}

} // namespace

std::vector<Check> checksAlone()
{
    Stage const loaded = Stage::Loaded;
    Stage const serves = Stage::Serves;
    return {
        alone("the version is a fixed text that names the adapter", loaded, {Entry::GetVersion},
              versionIsFixed),
        alone("the error text is never null, before the first failure too", loaded,
              {Entry::GetError}, errorIsNeverNull),
        alone("creating an unknown service fails with -1 and an error text", loaded,
              {Entry::Create, Entry::GetError}, unknownServiceFails),
        alone("opening where nobody serves fails with -1 and an error text", loaded,
              {Entry::Open, Entry::Create, Entry::Close, Entry::GetError}, openWithoutServerFails),
        alone("an error text stays as it is until the next failure", loaded,
              {Entry::Create, Entry::GetError}, errorStaysReadable),
        alone("its calls of its own entry points stay inside", loaded, {}, callsStayInside),
        alone("its unloading removes it from the process", loaded, {}, unloadingUnloads),
        {"creating a service gives a handle", loaded, serves, {}, createGivesHandle, nullptr},
        alone("a server has a local id and stores its state", serves,
              {Entry::LocalId, Entry::GetState}, serverHasIdAndState),
        alone("a server without clients waits no longer than its time-out, then -8 or -9", serves,
              {Entry::ReceiveReady}, serverWaitsForClients),
        alone("a service can be created again after its close", serves, {},
              serviceIsFreeAfterClose),
    };
}

} // namespace dtcctl
