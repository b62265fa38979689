/// What the program that compares roads asks of the ends that it runs, and what they answer: over a
/// socket pair, in these very bytes.
#pragma once

namespace bench {

/// An end tells once at which port it is, the client 0, then answers each Exchange with a Cost.
struct Exchange
{
    unsigned int group;       ///< so many messages to the server, then one reply
    unsigned int length;      ///< bytes of each message
    unsigned int replyLength; ///< bytes of the reply
    unsigned int repeats;     ///< how often; once more beforehand is not measured
};

struct Cost
{
    double seconds;          ///< from before the first message to after the last reply
    double processorSeconds; ///< of all the end's threads, user and system
};

} // namespace bench
