/* The smallest complete client: sends one message to the "dtc_io" service and prints the reply. */
#include <skylark_io/adapter/dtc_io.h>

#include <stdio.h>
#include <string.h>

enum { LONGEST = 4096 };

static int exchange(void* box, char const* text)
{
    unsigned int buffer[LONGEST / sizeof(unsigned int)];
    unsigned int server = 0;
    unsigned int tag = 0;
    unsigned int length = (unsigned int)strlen(text);
    memcpy(buffer, text, length);
    if (DTC_IO_Send_V2(box, 0, 7, buffer, length, NULL) != DTC_IO_SUCCESS ||
        DTC_IO_Receive(box, &server, &tag, buffer, sizeof buffer, &length, 5000) !=
            DTC_IO_SUCCESS) {
        fprintf(stderr, "client: %s\n", DTC_Get_Error());
        return 1;
    }
    printf("tag %u: %.*s\n", tag, (int)length, (char const*)buffer);
    return 0;
}

int main(int argc, char** argv)
{
    void* box = NULL;
    int result;
    if (argc != 3 || argv[2][0] == '\0' || strlen(argv[2]) > LONGEST) {
        fprintf(stderr,
                "usage: %s ADDRESS TEXT, for example %s 0x7F000001 hello\n"
                "TEXT has 1 to %d bytes.\n",
                argv[0], argv[0], LONGEST);
        return 2;
    }
    if (DTC_IO_Open(argv[1], "dtc_io", &box) != DTC_IO_SUCCESS) {
        fprintf(stderr, "client: %s\n", DTC_Get_Error());
        return 1;
    }
    result = exchange(box, argv[2]);
    DTC_IO_Close(box);
    return result;
}
