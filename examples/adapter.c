/* The smallest complete adapter library, "example_io.so": carries messages between programs of one
 * machine, over a local socket named after the service. One thread, four clients a server. */
#define _GNU_SOURCE /* accept4 */
#include <skylark_io/adapter/dtc_io.h>

#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

enum { CLIENTS = 4 };

/* What a handle points to. Place 0 is the listening socket, and -1 on a client; the rest are peers.
 * The numbers of those that follow each other in a place are CLIENTS apart: who has gone is not
 * taken for who came next. */
typedef struct
{
    struct pollfd place[1 + CLIENTS];
    unsigned int number[1 + CLIENTS];
} Connection;

/* Goes in front of each message. */
typedef struct
{
    uint32_t length;
    uint32_t tag;
} Header;

static char last_error[200] = "";

/* Functions of our own are static: a name that another library of the process lets out as well
 * might be taken from there. */
static DTC_IO_STATUS fail(DTC_IO_STATUS status, const char* what, const char* why)
{
    snprintf(last_error, sizeof last_error, "%s: %s", what, why);
    return status;
}

static int has_peer(const Connection* connection)
{
    for (int i = 1; i <= CLIENTS; ++i) {
        if (connection->place[i].fd >= 0)
            return 1;
    }
    return 0;
}

static void drop(struct pollfd* peer)
{
    close(peer->fd);
    peer->fd = -1;
}

/* In the middle of a message. */
static DTC_IO_STATUS broken(Connection* connection, int place)
{
    drop(&connection->place[place]);
    return has_peer(connection) ? fail(DTC_IO_FAILED, "receive", "a client left half a message")
                                : fail(DTC_IO_DISCONNECTED, "receive", "the peer has gone");
}

/* All that a peer sent before it left comes first. */
static int has_left(const struct pollfd* peer)
{
    char byte = 0;
    ssize_t const count = recv(peer->fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
}

/* All of the bytes or none: a short transfer goes on. */
static int transfer(int fd, void* buffer, size_t length, int is_send)
{
    for (char* at = buffer; length > 0;) {
        ssize_t const count =
            is_send ? send(fd, at, length, MSG_NOSIGNAL) : recv(fd, at, length, 0);
        if (count == 0 || (count < 0 && errno != EINTR))
            return -1;
        at += count > 0 ? count : 0;
        length -= count > 0 ? (size_t)count : 0;
    }
    return 0;
}

static DTC_IO_STATUS connection_for(const char* service, int is_server, void** handle)
{
    *handle = NULL;
    struct sockaddr_un name = {.sun_family = AF_UNIX};
    if (strcmp(service, "dtc_io") != 0 && strcmp(service, "dtc_conf") != 0)
        return fail(DTC_IO_NO_CONNECTION, service, "unknown service");
    /* A name that begins with a null byte stands in no directory and goes with its socket. */
    snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "example_%s", service);
    Connection* const made = malloc(sizeof *made);
    int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const struct sockaddr* const address = (const struct sockaddr*)&name;
    int const result = fd < 0      ? -1
                       : is_server ? bind(fd, address, sizeof name) || listen(fd, CLIENTS)
                                   : connect(fd, address, sizeof name);
    if (made == NULL || result != 0) {
        fail(DTC_IO_NO_CONNECTION, service, strerror(errno));
        free(made);
        if (fd >= 0)
            close(fd);
        return DTC_IO_NO_CONNECTION;
    }
    for (int i = 0; i <= CLIENTS; ++i)
        made->place[i] = (struct pollfd){.fd = -1, .events = POLLIN};
    for (int i = 0; i <= CLIENTS; ++i)
        made->number[i] = (unsigned int)i;
    made->place[is_server ? 0 : 1].fd = fd;
    *handle = made;
    return DTC_IO_SUCCESS;
}

static DTC_IO_STATUS admit(Connection* server)
{
    int const fd = accept4(server->place[0].fd, NULL, NULL, SOCK_CLOEXEC);
    if (fd < 0)
        return fail(DTC_IO_FAILED, "accept", strerror(errno));
    for (int i = 1; i <= CLIENTS; ++i) {
        if (server->place[i].fd < 0) {
            server->place[i].fd = fd;
            server->number[i] += CLIENTS;
            return DTC_IO_SUCCESS;
        }
    }
    close(fd);
    return DTC_IO_SUCCESS;
}

/* The place of a peer with something to receive, 0 when there is none, or -9 when the last one has
 * just left. */
static int ready_peer(Connection* connection)
{
    for (int i = 1; i <= CLIENTS; ++i) {
        struct pollfd* const peer = &connection->place[i];
        if (peer->fd < 0 || peer->revents == 0)
            continue;
        if (!has_left(peer))
            return i;
        drop(peer);
        if (!has_peer(connection))
            return fail(DTC_IO_DISCONNECTED, "receive", "the peer has gone");
    }
    return 0;
}

/* The place of a peer with something to receive, or a status. poll(2) has the same milliseconds,
 * and takes 0xFFFFFFFF, as -1, for no limit. A client that comes or goes begins the wait anew. */
static int wait_for_peer(Connection* connection, unsigned int timeout)
{
    struct pollfd* const places = connection->place; /* the first: where a server listens */
    for (;;) {
        if (places->fd < 0 && !has_peer(connection))
            return fail(DTC_IO_DISCONNECTED, "receive", "the server has gone");
        int const count = poll(places, 1 + CLIENTS, (int)timeout);
        if (count <= 0 && !has_peer(connection))
            return fail(DTC_IO_DISCONNECTED, "receive", "nobody is connected");
        if (count == 0)
            return fail(DTC_IO_TIMEOUT, "receive", "nothing came");
        if (count < 0)
            return fail(DTC_IO_FAILED, "poll", strerror(errno));
        int const found = ready_peer(connection);
        if (found != 0)
            return found;
        if (connection->place[0].revents != 0 && admit(connection) != DTC_IO_SUCCESS)
            return DTC_IO_FAILED;
    }
}

char const* DTC_Get_Version(void)
{
    return "Example adapter over a local socket";
}

int DTC_Get_Status(void)
{
    return 0; /* there is nothing to wait for */
}

char const* DTC_Get_Error(void)
{
    return last_error;
}

DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection)
{
    (void)param;
    return connection_for(service, 1, connection);
}

DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection)
{
    (void)address; /* this machine is the only one */
    return connection_for(service, 0, connection);
}

void DTC_IO_Close(void* connection)
{
    Connection* const closed = connection;
    if (closed == NULL)
        return;
    for (int i = 0; i <= CLIENTS; ++i) {
        if (closed->place[i].fd >= 0)
            close(closed->place[i].fd);
    }
    free(closed);
}

DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                             unsigned int* buffer, unsigned int length, unsigned int* sent)
{
    Connection* const sender = connection;
    Header header = {length, tag};
    int const is_client = sender->place[0].fd < 0;
    unsigned int const place = is_client ? 1 : 1 + (clientId - 1) % CLIENTS;
    struct pollfd* const peer = &sender->place[place];
    if (buffer == NULL || length == 0)
        return fail(DTC_IO_INVALID, "send", "no message");
    if (peer->fd < 0 || (!is_client && sender->number[place] != clientId))
        return fail(DTC_IO_DISCONNECTED, "send", "no such peer");
    if (transfer(peer->fd, &header, sizeof header, 1) != 0 ||
        transfer(peer->fd, buffer, length, 1) != 0) {
        drop(peer);
        return fail(DTC_IO_DISCONNECTED, "send", "the peer has gone");
    }
    if (sent != NULL)
        *sent = length;
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS DTC_IO_Receive_Ready(void* connection, unsigned int timeout)
{
    int const peer = wait_for_peer(connection, timeout);
    return peer > 0 ? DTC_IO_SUCCESS : peer;
}

/* A message too large for the buffer is read away, so that the next one begins where it should. */
DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                             unsigned int* buffer, unsigned int size, unsigned int* received,
                             unsigned int timeout)
{
    Header header;
    if (clientId == NULL || tag == NULL || buffer == NULL || size == 0)
        return fail(DTC_IO_INVALID, "receive", "no buffer");
    int const found = wait_for_peer(connection, timeout);
    if (found < 0)
        return found;
    Connection* const receiver = connection;
    int const fd = receiver->place[found].fd;
    if (transfer(fd, &header, sizeof header, 0) != 0)
        return broken(receiver, found);
    *clientId = receiver->number[found];
    *tag = header.tag;
    if (received != NULL)
        *received = header.length;
    for (uint32_t rest = header.length; rest > 0;) {
        uint32_t const part = rest < size ? rest : size;
        if (transfer(fd, buffer, part, 0) != 0)
            return broken(receiver, found);
        rest -= part;
    }
    return header.length <= size
               ? DTC_IO_SUCCESS
               : fail(DTC_IO_INVALID, "receive", "message too large for the buffer");
}

DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id)
{
    if (id == NULL)
        return fail(DTC_IO_INVALID, "local id", "no place for it");
    *id = (unsigned int)(((Connection*)connection)->place[0].fd < 0); /* a server is 0 */
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS DTC_IO_Get_State(void* connection, DTC_IO_LOADERIF** state)
{
    (void)connection;
    if (state != NULL)
        *state = NULL;
    return DTC_IO_SUCCESS;
}
