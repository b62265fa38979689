/* An adapter library that carries nothing: it appends a line that begins with its name to the file
 * ADAPTER_LOG for each call that matters. The service "refused" fails, and so does a message to
 * client 99; the handle for the service "null" is null; a message is ready when ADAPTER_READY has
 * the name in it. A program may have itself called at each close. "old" lacks DTC_IO_Send_V2,
 * DTC_Get_Error and DTC_IO_Create among others. */
#define _POSIX_C_SOURCE 200809L
#include "adapter/dtc_io.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define record(...)                                                                                \
    do {                                                                                           \
        FILE* const file = fopen(getenv("ADAPTER_LOG"), "a");                                      \
        fprintf(file, NAME " " __VA_ARGS__);                                                       \
        fputc('\n', file);                                                                         \
        fclose(file);                                                                              \
    } while (0)

__attribute__((destructor)) static void unload(void)
{
    record("unloaded");
}

static uintptr_t handles = 0;

DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection)
{
    record("open %s %s", address, service);
    if (strcmp(service, "refused") == 0)
        return DTC_IO_NO_CONNECTION;
    *connection = strcmp(service, "null") == 0 ? NULL : (void*)++handles;
    return DTC_IO_SUCCESS;
}

void (*whenClosed)(void) = NULL;

void DTC_IO_Close(void* connection)
{
    record("close %u", (unsigned)(uintptr_t)connection);
    if (whenClosed != NULL)
        whenClosed();
}

DTC_IO_STATUS DTC_IO_Send(void* connection, unsigned int clientId, unsigned int tag,
                          unsigned int* buffer, unsigned int length)
{
    record("send %u %u %u %.*s %u", (unsigned)(uintptr_t)connection, clientId, tag, (int)length,
           (char*)buffer, length);
    return clientId == 99 ? DTC_IO_DISCONNECTED : DTC_IO_SUCCESS;
}

#ifndef ADAPTER_old
char const* DTC_Get_Version(void)
{
    return NAME;
}

int DTC_Get_Status(void)
{
    return 1;
}

/* Each call changes the one text. ADAPTER_SILENT: there is none. */
char const* DTC_Get_Error(void)
{
    static char text[32];
    static int count = 0;
    snprintf(text, sizeof text, "failure %d", ++count);
    return getenv("ADAPTER_SILENT") != NULL ? NULL : text;
}

DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection)
{
    record("create %u", param);
    return DTC_IO_Open("", service, connection);
}

DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                             unsigned int* buffer, unsigned int length, unsigned int* sent)
{
    record("send_v2");
    *sent = length - 1;
    return DTC_IO_Send(connection, clientId, tag, buffer, length);
}

DTC_IO_STATUS DTC_IO_Receive_Ready(void* connection, unsigned int timeout)
{
    record("ready %u %u", (unsigned)(uintptr_t)connection, timeout);
    return strstr(getenv("ADAPTER_READY"), NAME) != NULL ? DTC_IO_SUCCESS : DTC_IO_TIMEOUT;
}

DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                             unsigned int* buffer, unsigned int size, unsigned int* received,
                             unsigned int timeout)
{
    record("receive %u %u %u", (unsigned)(uintptr_t)connection, size, timeout);
    *clientId = 1;
    *tag = 2;
    *buffer = 3;
    *received = 4;
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id)
{
    *id = (unsigned)(uintptr_t)connection;
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS DTC_IO_Get_State(void* connection, DTC_IO_LOADERIF** state)
{
    *state = connection;
    return 7;
}
#endif
