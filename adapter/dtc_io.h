/*
 * The C interface of an IO adapter library: messages between programs on the box and programs
 * elsewhere.
 *
 * A serving program on the box calls DTC_IO_Create with a service name, loops on DTC_IO_Receive,
 * answers each message with DTC_IO_Send_V2 to the client that DTC_IO_Receive named, and ends with
 * DTC_IO_Close. A client program calls DTC_IO_Open with the box's address and the service name,
 * exchanges messages with DTC_IO_Send_V2 and DTC_IO_Receive, and ends with DTC_IO_Close. After any
 * failure DTC_Get_Error tells why.
 *
 * Services of skylark_io.so
 *   "dtc_io"    TCP port 55755; serves one client machine at a time
 *   "dtc_conf"  TCP port 55756; serves clients from any number of machines
 * A server holds at most eight clients at once; one more is disconnected as soon as it connects.
 *
 * Handles
 *   DTC_IO_Create and DTC_IO_Open store a connection handle through their last argument, which must
 * not be null. The library owns what it stands for; the caller gives it back with DTC_IO_Close. No
 * function checks a handle: one that is null, closed or made up is undefined behaviour everywhere
 * except in DTC_IO_Close, which ignores it. Unloading the library closes what is still open.
 *
 * Messages and buffers
 *   A message is 1 to 0xFFFFFFFF bytes of any content, and a 32-bit tag that the receiver gets
 * unchanged. Buffers are declared as pointers to unsigned int but hold bytes and need no alignment;
 * every length, size and count is in bytes. The library keeps no buffer after the call. How large a
 * message may be is decided by the buffer that its receiver offers.
 *
 * Time-outs
 *   In milliseconds; 0 asks without waiting; DTC_IO_NO_TIME_LIMIT waits without limit. The time-out
 * covers the wait for the beginning of a message. Once a message has begun to arrive, receiving it
 * takes as long as its sender takes, and sending takes as long as the peer takes to receive: both
 * block without limit. A signal handler that runs during the wait ends it early (DTC_IO_TIMEOUT, or
 * DTC_IO_DISCONNECTED when there is no client, from a server; DTC_IO_FAILED from a client); it
 * never tears a message apart.
 *
 * Threads
 *   DTC_IO_Create, DTC_IO_Open and DTC_IO_Close must not run at the same time as each other.
 * Different connections may be used by different threads at once. On one server connection several
 * threads may call at once: a thread may send while another waits, and whole messages take turns,
 * so a peer that does not read its reply holds up the others. A client connection is for one thread
 * at a time. The library starts no thread; a server accepts clients only while some thread is
 * inside DTC_IO_Receive or DTC_IO_Receive_Ready.
 *
 * The process
 *   DTC_IO_Create and DTC_IO_Open set SIGPIPE to be ignored. Descriptors are close-on-exec.
 * Diagnostics go to standard output.
 *
 * On the wire each message is a header of four little-endian 32-bit words (0xFACE0001, a reserved
 * word, the byte count, the tag) and its bytes; docs/protocol.md has the details.
 */
#ifndef SKYLARK_IO_DTC_IO_H
#define SKYLARK_IO_DTC_IO_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions below return. */
typedef int32_t DTC_IO_STATUS;

enum {
    DTC_IO_SUCCESS = 0,
    DTC_IO_NO_CONNECTION = -1, /* DTC_IO_Create or DTC_IO_Open made no connection */
    DTC_IO_INVALID = -2,     /* invalid argument; message larger than the buffer; internal error */
    DTC_IO_FAILED = -6,      /* socket failure, or a malformed message header */
    DTC_IO_TIMEOUT = -8,     /* nothing to receive within the time given */
    DTC_IO_DISCONNECTED = -9 /* the peer has gone, or a server has no client */
};

static const unsigned int DTC_IO_NO_TIME_LIMIT = 0xFFFFFFFFu;

/* A record that programs which load adapters may share with them. This library has none to give. */
typedef struct DTC_IO_LOADERIF DTC_IO_LOADERIF;

/* The name of this adapter: constant text, never null. */
char const* DTC_Get_Version(void);

/* 0 when the box's network is configured, 1 and 3 when it is not (yet, or its set-up could not be
 * started). */
int DTC_Get_Status(void);

/*
 * Why the last failing call of this process, in whichever thread, failed; "" before the first
 * failure. The text belongs to the library and is valid until the next failure.
 */
char const* DTC_Get_Error(void);

/*
 * Makes a server connection that listens for clients of the service. param is recorded and not
 * used. The first DTC_IO_Create or DTC_IO_Open of a process sets up the box's network, which can
 * take seconds. Returns DTC_IO_SUCCESS and the handle, or DTC_IO_NO_CONNECTION and null: unknown
 * service, port taken, network not configured, no descriptor left.
 */
DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection);

/*
 * Connects to the service at the address. The address ends in the box's IPv4 address written as one
 * number, decimal, octal after "0" or hexadecimal after "0x"; anything up to a last ':' is ignored:
 * "3232235876", "0xC0A80164" and "skylark0:0xC0A80164" all mean 192.168.1.100. Dotted text is not
 * an address here. Blocks as long as the system tries to connect. Returns DTC_IO_SUCCESS and the
 * handle, or DTC_IO_NO_CONNECTION and null. That the server then refuses the client shows only in
 * the next operation, as DTC_IO_DISCONNECTED.
 */
DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection);

/*
 * Closes the connection and gives up its handle; no other thread may be using it. A client's sent
 * messages still arrive; a server resets its clients, and what they have not received yet is lost.
 * A handle that the library does not hold is ignored.
 */
void DTC_IO_Close(void* connection);

/*
 * Sends one message of length bytes (at least 1) and stores length through sent, which may be null.
 * On a server clientId names the receiver; on a client it is ignored. Blocks until the system has
 * taken the whole message. DTC_IO_INVALID: no buffer or no length, nothing sent.
 * DTC_IO_DISCONNECTED: no such client, or the peer has gone. DTC_IO_FAILED: anything else.
 */
DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                             unsigned int* buffer, unsigned int length, unsigned int* sent);

/*
 * Receives one message into the size bytes at buffer and stores who sent it (on a client: the
 * server's port), its tag and its byte count; only received may be null. Waits at most timeout
 * milliseconds for it.
 *
 * DTC_IO_TIMEOUT: nothing came; DTC_IO_DISCONNECTED: the peer has gone, or a server has no client
 * (left): neither is the end of a server, which goes on accepting clients in the next call. When a
 * client leaves while others stay, the call goes on waiting for them, beyond the time-out if need
 * be. DTC_IO_INVALID: null pointer or no size, or the message was larger than the buffer, whose
 * content is then undefined; that message is lost, the connection goes on. DTC_IO_FAILED: socket
 * failure, or the peer does not keep to the message format, after which nothing sensible can be
 * expected of it.
 *
 * Among clients with a message waiting, a server always takes the one in the lowest of its eight
 * places.
 */
DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                             unsigned int* buffer, unsigned int size, unsigned int* received,
                             unsigned int timeout);

/*
 * Waits at most timeout milliseconds until DTC_IO_Receive would find something: a message, or the
 * end of a connection. DTC_IO_SUCCESS, DTC_IO_TIMEOUT, DTC_IO_DISCONNECTED (a server without
 * clients), DTC_IO_FAILED (a client's wait was refused or interrupted). A wait that accepts clients
 * starts anew with the full time-out. A server's time-outs set no error text.
 */
DTC_IO_STATUS DTC_IO_Receive_Ready(void* connection, unsigned int timeout);

/*
 * Stores this end's identifier: a client's is the number by which its server knows it (its TCP
 * port), a server's the port it listens on. DTC_IO_INVALID for a null id.
 */
DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id);

/* Stores null through state, unless state is null: this library has no loader record.
 * DTC_IO_SUCCESS. */
DTC_IO_STATUS DTC_IO_Get_State(void* connection, DTC_IO_LOADERIF** state);

#ifdef __cplusplus
}
#endif

#endif
