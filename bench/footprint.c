/* What a library of the adapter occupies and how long it takes to load: footprint LIBRARY [serve].
 * A C program, so that the C++ runtime comes with the library and is counted apart. Prints lines of
 * what,value,unit, memory as resident / private and written. Only with "serve", for a library on
 * the simulated box, is anything of it called.
 */
#define _POSIX_C_SOURCE 200809L

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <skylark_io/adapter/dtc_io.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { loads = 101, clients = 8 };

struct footprint
{
    long rss;
    long pss;
    long dirty;
    long descriptors;
};

static FILE* results;

static void fail(char const* what)
{
    fprintf(stderr, "footprint: %s\n", what);
    exit(1);
}

static long kib(char const* text, char const* name)
{
    char const* const line = strstr(text, name);
    return line == NULL ? 0 : strtol(line + strlen(name), NULL, 10);
}

static struct footprint footprint(void)
{
    static char text[4096];
    struct footprint now = {0, 0, 0, 0};
    int const file = open("/proc/self/smaps_rollup", O_RDONLY);
    ssize_t const length = read(file, text, sizeof text - 1);
    close(file);
    if (length <= 0)
        fail("smaps_rollup");
    text[length] = '\0';
    now.rss = kib(text, "\nRss:");
    now.pss = kib(text, "\nPss:");
    now.dirty = kib(text, "\nPrivate_Dirty:");
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != NULL)
        ++now.descriptors;
    closedir(directory);
    return now;
}

/* What has come since, a so many-th part of it. */
static void report(char const* what, struct footprint before, long parts)
{
    struct footprint const now = footprint();
    fprintf(results, "%s,%ld / %ld KiB and %ld,descriptors\n", what, (now.rss - before.rss) / parts,
            (now.dirty - before.dirty) / parts, (now.descriptors - before.descriptors) / parts);
}

static void* load(char const* library)
{
    void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (handle == NULL)
        fail(dlerror());
    return handle;
}

static int compare(void const* a, void const* b)
{
    double const x = *(double const*)a;
    double const y = *(double const*)b;
    return (x > y) - (x < y);
}

static void time_loads(char const* library)
{
    double times[loads];
    for (int i = 0; i < loads; ++i) {
        struct timespec start, end;
        clock_gettime(CLOCK_MONOTONIC, &start);
        dlclose(load(library));
        clock_gettime(CLOCK_MONOTONIC, &end);
        times[i] = (double)(end.tv_sec - start.tv_sec) * 1e6 +
                   (double)(end.tv_nsec - start.tv_nsec) * 1e-3;
    }
    qsort(times, loads, sizeof times[0], compare);
    fprintf(results, "load and unload,%.0f,us\n", times[loads / 2]);
}

static void* function(void* library, char const* name)
{
    void* const found = dlsym(library, name);
    if (found == NULL)
        fail(name);
    return found;
}

/* A server, and as many clients as it has places for, each of which has sent a message. */
static void serve(void* library)
{
    __typeof__(&DTC_IO_Create) create;
    __typeof__(&DTC_IO_Open) open_client;
    __typeof__(&DTC_IO_Send_V2) send;
    __typeof__(&DTC_IO_Receive) receive;
    *(void**)&create = function(library, "DTC_IO_Create");
    *(void**)&open_client = function(library, "DTC_IO_Open");
    *(void**)&send = function(library, "DTC_IO_Send_V2");
    *(void**)&receive = function(library, "DTC_IO_Receive");

    void* server = NULL;
    struct footprint before = footprint();
    if (create("dtc_conf", 0, &server) != DTC_IO_SUCCESS)
        fail("no server");
    report("a server", before, 1);
    for (int i = 0; i < clients; ++i) {
        void* client = NULL;
        unsigned int word = 0, id = 0, tag = 0, length = 0;
        if (i < 2)
            before = footprint();
        if (open_client("0x7F000001", "dtc_conf", &client) != DTC_IO_SUCCESS ||
            send(client, 0, 1, &word, sizeof word, &length) != DTC_IO_SUCCESS ||
            receive(server, &id, &tag, &word, sizeof word, &length, 10000) != DTC_IO_SUCCESS)
            fail("no client");
        if (i == 0)
            report("the first client and its place", before, 1);
    }
    report("each client more and its place", before, clients - 1);
}

int main(int argc, char** argv)
{
    if (argc < 2)
        fail("usage: footprint LIBRARY [serve]");
    results = fdopen(dup(STDOUT_FILENO), "w");
    if (results == NULL || freopen("/dev/null", "w", stdout) == NULL) /* what the library prints */
        fail("stdout");
    footprint();
    struct footprint before = footprint();
    load("libstdc++.so.6");
    report("the C++ runtime", before, 1);
    time_loads(argv[1]);
    before = footprint();
    void* const library = load(argv[1]);
    report("the loaded library", before, 1);
    fprintf(results, "the loaded library in proportion,%ld,KiB\n", footprint().pss - before.pss);
    if (argc > 2)
        serve(library);
    return fclose(results);
}
