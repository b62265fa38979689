#pragma once

#include "adapter/dtc_io.h"

#include <dlfcn.h>
#include <memory>
#include <stdexcept>

namespace testing_support {

/// skylark_io.so as a program loads it.
class Library
{
public:
    template <typename Function>
    Function* find(char const* name) const
    {
        void* const address = dlsym(m_handle.get(), name);
        return address != nullptr ? reinterpret_cast<Function*>(address)
                                  : throw std::runtime_error(dlerror());
    }

private:
    std::unique_ptr<void, int (*)(void*)> m_handle{dlopen(SKYLARK_LIBRARY, RTLD_NOW | RTLD_LOCAL),
                                                   dlclose};

public:
    decltype(DTC_IO_Create)* const create = find<decltype(DTC_IO_Create)>("DTC_IO_Create");
    decltype(DTC_IO_Open)* const open = find<decltype(DTC_IO_Open)>("DTC_IO_Open");
    decltype(DTC_IO_Close)* const close = find<decltype(DTC_IO_Close)>("DTC_IO_Close");
    decltype(DTC_IO_Send_V2)* const send = find<decltype(DTC_IO_Send_V2)>("DTC_IO_Send_V2");
    decltype(DTC_IO_Receive)* const receive = find<decltype(DTC_IO_Receive)>("DTC_IO_Receive");
    decltype(DTC_IO_Receive_Ready)* const receiveReady =
        find<decltype(DTC_IO_Receive_Ready)>("DTC_IO_Receive_Ready");
    decltype(DTC_Get_Error)* const error = find<decltype(DTC_Get_Error)>("DTC_Get_Error");
};

} // namespace testing_support
