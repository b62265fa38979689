/* The example adapter with the faults that ADAPTER_FAULT names. */
#define _GNU_SOURCE
#include <adapter/dtc_io.h>

#define DTC_Get_Status sound_status
#define DTC_Get_Error sound_error
#define DTC_IO_Create sound_create
#define DTC_IO_Open sound_open
#define DTC_IO_Close sound_close
#define DTC_IO_Local_Id sound_id
#define DTC_IO_Receive sound_receive
#define DTC_IO_Send_V2 sound_send
#include "examples/adapter.c"
#undef DTC_Get_Status
#undef DTC_Get_Error
#undef DTC_IO_Create
#undef DTC_IO_Open
#undef DTC_IO_Close
#undef DTC_IO_Local_Id
#undef DTC_IO_Receive
#undef DTC_IO_Send_V2

#include <dlfcn.h>

static int faulty(const char* fault)
{
    return strstr(getenv("ADAPTER_FAULT"), fault) != NULL;
}

__attribute__((destructor)) static void finish(void)
{
    if (faulty("final"))
        abort();
}

int DTC_Get_Status(void)
{
    if (faulty("bad-state"))
        abort();
    return sound_status();
}

char const* DTC_Get_Error(void)
{
    return faulty("null-error") ? NULL : sound_error();
}

DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection)
{
    Dl_info self;
    if (faulty("stays") && dladdr(last_error, &self) != 0)
        dlopen(self.dli_fname, RTLD_LAZY);
    if (faulty("crash") && strcmp(service, "dtc_io") == 0)
        abort();
    return sound_create(faulty("any-service") ? "dtc_conf" : service, param, connection);
}

DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection)
{
    DTC_IO_STATUS const status =
        sound_open(address, faulty("any-service") ? "dtc_conf" : service, connection);
    if (faulty("exit") && status == DTC_IO_SUCCESS)
        exit(0);
    if (faulty("no-text"))
        last_error[0] = '\0';
    return status;
}

void DTC_IO_Close(void* connection)
{
    if (!faulty("leak"))
        sound_close(connection);
}

DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id)
{
    return faulty("no-id") ? DTC_IO_SUCCESS : sound_id(connection, id);
}

DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                             unsigned int* buffer, unsigned int length, unsigned int* sent)
{
    unsigned int count = 0;
    DTC_IO_STATUS const status = sound_send(connection, clientId, faulty("tag") ? 7 : tag, buffer,
                                            length, faulty("null-sent") ? &count : sent);
    if (faulty("null-sent"))
        *sent = count;
    return status;
}

DTC_IO_STATUS DTC_IO_Send(void* connection, unsigned int clientId, unsigned int tag,
                          unsigned int* buffer, unsigned int length);
DTC_IO_STATUS DTC_IO_Send(void* connection, unsigned int clientId, unsigned int tag,
                          unsigned int* buffer, unsigned int length)
{
    return faulty("old-way") ? DTC_IO_FAILED
                             : sound_send(connection, clientId, tag, buffer, length, NULL);
}

DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                             unsigned int* buffer, unsigned int size, unsigned int* received,
                             unsigned int timeout)
{
    while (faulty("hang"))
        pause();
    timeout = faulty("impatient") && timeout == DTC_IO_NO_TIME_LIMIT ? 0 : timeout;
    timeout = faulty("short") && timeout == 200 ? 0 : timeout;
    DTC_IO_STATUS const status =
        sound_receive(connection, clientId, tag, buffer, size, received, timeout);
    if (faulty("overrun") && status == DTC_IO_SUCCESS)
        ((char*)buffer)[size] = 0;
    return faulty("cut") && status == DTC_IO_INVALID ? DTC_IO_SUCCESS : status;
}
