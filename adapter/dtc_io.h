/**
 * The C interface of an IO adapter library: messages between programs on the box and programs
 * elsewhere.
 *
 * A serving program on the box calls DTC_IO_Create with a service name, loops on DTC_IO_Receive,
 * answers each message with DTC_IO_Send_V2 to the client that DTC_IO_Receive named, and ends with
 * DTC_IO_Close. A client program calls DTC_IO_Open with the box's address and the service name,
 * exchanges messages with DTC_IO_Send_V2 and DTC_IO_Receive, and ends with DTC_IO_Close.
 *
 * Services of skylark_io.so
 *   "dtc_io"    TCP port 55755; serves one client machine at a time
 *   "dtc_conf"  TCP port 55756; serves clients from any number of machines
 * A server holds at most eight clients at once, and turns away one more, or one that it does not
 * admit, by closing its connection. It does so only while it waits; until then the client's sends
 * succeed. Admitting or refusing a client holds the others up for some tenths of a second;
 * docs/network.md says who is admitted, and why it takes that long.
 *
 * Handles. DTC_IO_Create and DTC_IO_Open store a connection handle through their last argument,
 * which must not be null. The library owns what it stands for; the caller gives it back with
 * DTC_IO_Close, once. No other function checks a handle: one that is null, closed or made up is
 * undefined behaviour.
 *
 * Endings. Closing a connection wakes every thread inside its calls, whether it waits, is in the
 * middle of a message or cannot send because the peer does not read: each call returns
 * DTC_IO_DISCONNECTED with the text "Connection has been closed", or what it has come to just then,
 * and the closing waits until the last has returned. That takes a millisecond, a tenth of a second
 * for a send, and up to seconds while a client is being admitted. A loop that goes on after
 * DTC_IO_DISCONNECTED needs a sign of its own that it is to end, given before the closing: a call
 * that begins when its connection is closed is undefined behaviour.
 *
 * The end of the process, by exit or by return from main, and unloading the library end all calls
 * in this way, once a DTC_IO_Create or DTC_IO_Open under way has returned. While the process comes
 * to its end a thread that calls again gets DTC_IO_DISCONNECTED or DTC_IO_NO_CONNECTION. Before
 * unloading, let the threads come out of the library for good: its code goes away. When a signal
 * handler that has interrupted a call runs exit, the connections are left to the system. A thread
 * must not be cancelled inside a call (pthread_cancel), nor leave it by longjmp.
 *
 * Messages and buffers. A message is 1 to 0xFFFFFFFF bytes of any content, and a 32-bit tag that
 * the receiver gets unchanged. Buffers are declared as pointers to unsigned int but hold bytes and
 * need no alignment; every length, size and count is in bytes. The library keeps no buffer after
 * the call. How large a message may be is decided by the buffer that its receiver offers.
 *
 * Time-outs. In milliseconds; 0 asks without waiting; DTC_IO_NO_TIME_LIMIT waits without limit. The
 * time-out covers the wait for the beginning of a message. Once a message has begun to arrive,
 * receiving it takes as long as its sender takes, and sending takes as long as the peer takes to
 * receive: both block without limit, however long a peer that is alive does not read. A server's
 * wait starts anew, with the full time-out, whenever a client has connected. A signal handler that
 * runs during the wait ends it early: DTC_IO_TIMEOUT, or DTC_IO_DISCONNECTED when there is no
 * client, from a server; DTC_IO_FAILED from a client. It never tears a message apart.
 *
 * Threads. DTC_IO_Create, DTC_IO_Open and DTC_IO_Close must not run at the same time as each other.
 * Different connections may be used by different threads at once. On one server connection any
 * thread may send while another one receives; whole messages take turns, so a peer that stops in
 * the middle of its message, or does not read its reply, holds up all other clients, also those
 * asked about without a time-out. Let one thread at a time wait on a server: several may, but one
 * of them can sleep through a client that another one has accepted. A client connection is for one
 * thread at a time. The library starts no thread; a server accepts clients only while some thread
 * is inside DTC_IO_Receive or DTC_IO_Receive_Ready.
 *
 * The process. The first DTC_IO_Create or DTC_IO_Open sets the box's network up from its
 * configuration and waits for that; while it cannot, both fail without a text. Both set SIGPIPE to
 * be ignored. Descriptors are close-on-exec. After fork both processes share the connections, and
 * the one that does not use them must leave with _exit: exit would shut them down for the other
 * one, so that a service whose program has gone into the background this way refuses its clients.
 * Fork first, then DTC_IO_Create. Descriptors of 1024 and more are refused.
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

/** What the functions below return. */
typedef int32_t DTC_IO_STATUS;

enum {
    DTC_IO_SUCCESS = 0,
    DTC_IO_NO_CONNECTION = -1, /**< DTC_IO_Create or DTC_IO_Open made no connection */
    DTC_IO_INVALID = -2, /**< invalid argument; message larger than the buffer; internal error */
    DTC_IO_FAILED = -6,  /**< socket failure, or a malformed message header */
    DTC_IO_TIMEOUT = -8, /**< nothing to receive within the time given */
    DTC_IO_DISCONNECTED = -9 /**< the peer has gone, a server has no client, or the end came */
};

static const unsigned int DTC_IO_NO_TIME_LIMIT = 0xFFFFFFFFu;

/** A record that programs which load adapters may share with them. This library has none to give.
 */
typedef struct DTC_IO_LOADERIF DTC_IO_LOADERIF;

/** The name of this adapter: constant text, never null. */
char const* DTC_Get_Version(void);

/**
 * The state of the box's network, which the first DTC_IO_Create or DTC_IO_Open sets up: 0 when it
 * is configured, otherwise 3 (not set up yet, or its set-up failed). 1 is reserved.
 */
int DTC_Get_Status(void);

/**
 * Why the last failing call of this process, in whichever thread, failed; "" before the first
 * failure. The text belongs to the library and is valid until the next failure. Some failures have
 * no text of their own, and the connection's (or, for DTC_IO_Create and DTC_IO_Open, the adapter's)
 * previous text appears again: network not configured, sending to a client that does not exist or
 * sending nothing, a null id, and a server's wait that ends without a message: by its time-out, by
 * a signal or for want of clients. Their status tells all there is to say. Want of memory leaves
 * the text as it was.
 */
char const* DTC_Get_Error(void);

/**
 * Makes a server connection that listens for clients of the service. param is recorded and not
 * used. The first DTC_IO_Create or DTC_IO_Open of a process sets up the box's network, which can
 * take seconds. Returns DTC_IO_SUCCESS and the handle, or DTC_IO_NO_CONNECTION and null: unknown
 * service, port taken, network not configured, no descriptor or memory left.
 */
DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection);

/**
 * Connects to the service at the address. The address ends in the box's IPv4 address written as one
 * number, decimal, octal after "0" or hexadecimal after "0x"; anything up to a last ':' is ignored,
 * and so is what follows the number: "3232235876", "0xC0A80164" and "skylark0:0xC0A80164" all mean
 * 192.168.1.100, but "192.168.1.100" means 192, that is 0.0.0.192. An address without a 32-bit
 * number is refused. Blocks until the connection stands or fails: for 15 to 20 seconds when nothing
 * answers, a host that is not there or a server that accepts nobody. Returns DTC_IO_SUCCESS and the
 * handle, or DTC_IO_NO_CONNECTION and null. That the server turns the client away shows at
 * once, as a failure to connect, or in a later send or receive, as DTC_IO_DISCONNECTED.
 */
DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection);

/**
 * Closes the connection and gives up its handle; "Endings" above tells what becomes of the threads
 * that are inside its calls. What a client has sent still arrives, unless it leaves replies unread.
 * A server resets its clients, and what they have not received yet is lost. A handle that the
 * library does not hold, null included, is ignored.
 */
void DTC_IO_Close(void* connection);

/**
 * Sends one message of length bytes (at least 1) and stores length through sent, which may be null
 * and is left alone on failure. On a server clientId names the receiver; on a client it is ignored.
 * Clients of "dtc_conf" on different machines can have the same number by chance; a message to it
 * goes to the one in the lowest place.
 * Blocks until the system has taken the whole message. DTC_IO_INVALID: no buffer or no length,
 * nothing sent. DTC_IO_DISCONNECTED: no such client, or the peer has gone. DTC_IO_FAILED: anything
 * else. A peer that vanishes meanwhile is noticed after about 30 seconds, as by DTC_IO_Receive.
 */
DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                             unsigned int* buffer, unsigned int length, unsigned int* sent);

/**
 * Receives one message into the size bytes at buffer and stores who sent it (on a client: the
 * server's port), its tag and its byte count. Only received may be null. Waits at most timeout
 * milliseconds for it. After a failure what the pointers lead to is undefined.
 *
 * DTC_IO_TIMEOUT: nothing came. DTC_IO_DISCONNECTED: the peer has gone, or a server has no client
 * (left), which is not its end: it goes on accepting clients in the next call. When a client leaves
 * while others stay, a server's call no longer ends by time-out: it waits on until a message comes,
 * the last client goes or a signal interrupts it. DTC_IO_INVALID: null pointer or no size; or the
 * message was larger than the buffer: it is lost, and the connection goes on. DTC_IO_FAILED: socket
 * failure, or a peer that does not keep to the message format, after which nothing sensible can be
 * expected of it. A server's client that vanishes without closing is noticed after about 30
 * seconds, by whichever calls wait on the server meanwhile, a send to it among them: it counts as
 * gone, or one call gives DTC_IO_FAILED and the next finds it gone. It takes up to five minutes
 * when the client has not read for a minute or more before, and the system (Linux before 6.15) asks
 * it only every two minutes. A client connection to a server that vanishes is not noticed by
 * waiting.
 *
 * Among clients with a message waiting, a server always takes the one in the lowest of its eight
 * places.
 */
DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                             unsigned int* buffer, unsigned int size, unsigned int* received,
                             unsigned int timeout);

/**
 * Waits at most timeout milliseconds until DTC_IO_Receive would find something: a message, or the
 * end of a connection. DTC_IO_SUCCESS, DTC_IO_TIMEOUT, DTC_IO_DISCONNECTED (a server without
 * clients), DTC_IO_FAILED (a client's wait was interrupted).
 */
DTC_IO_STATUS DTC_IO_Receive_Ready(void* connection, unsigned int timeout);

/**
 * Stores this end's identifier: a client's is the number by which its server knows it (its TCP
 * port), a server's the port it listens on. DTC_IO_INVALID for a null id.
 */
DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id);

/** Stores null through state, unless state is null: this library has no loader record.
 * DTC_IO_SUCCESS. */
DTC_IO_STATUS DTC_IO_Get_State(void* connection, DTC_IO_LOADERIF** state);

#ifdef __cplusplus
}
#endif

#endif
