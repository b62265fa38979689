/* The smallest complete serving program: answers every "dtc_io" message with the same bytes. */
#include <skylark_io/adapter/dtc_io.h>

#include <stdio.h>

int main(void)
{
    static unsigned int buffer[1 << 18]; /* messages of up to 1 MiB */
    void* server = NULL;
    /* To run in the background: daemon(3), or fork and exit, goes here, before DTC_IO_Create. */
    if (DTC_IO_Create("dtc_io", 0, &server) != DTC_IO_SUCCESS) {
        fprintf(stderr, "serve: %s\n", DTC_Get_Error());
        return 1;
    }
    for (;;) {
        unsigned int client = 0;
        unsigned int tag = 0;
        unsigned int length = 0;
        DTC_IO_STATUS status = DTC_IO_Receive(server, &client, &tag, buffer, sizeof buffer, &length,
                                              DTC_IO_NO_TIME_LIMIT);
        if (status == DTC_IO_SUCCESS)
            status = DTC_IO_Send_V2(server, client, tag, buffer, length, NULL);
        /* A client that leaves is no failure: the next call waits for others. */
        if (status != DTC_IO_SUCCESS && status != DTC_IO_DISCONNECTED)
            fprintf(stderr, "serve: %s\n", DTC_Get_Error());
    }
}
