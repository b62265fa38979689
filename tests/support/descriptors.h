#pragma once

#include <cstddef>
#include <vector>

namespace testing_support {

/// How many descriptors the process has open.
std::size_t openDescriptors();

/// Takes every descriptor below a number, so that the next one opened is that number or larger.
class DescriptorsBelow
{
public:
    explicit DescriptorsBelow(int limit);
    ~DescriptorsBelow();
    DescriptorsBelow(DescriptorsBelow const&) = delete;
    DescriptorsBelow& operator=(DescriptorsBelow const&) = delete;

private:
    std::vector<int> m_taken;
};

/// Lets the process open no more descriptors than it has open now.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors();
    ~NoMoreDescriptors();
    NoMoreDescriptors(NoMoreDescriptors const&) = delete;
    NoMoreDescriptors& operator=(NoMoreDescriptors const&) = delete;

private:
    unsigned long m_previousLimit;
};

} // namespace testing_support
