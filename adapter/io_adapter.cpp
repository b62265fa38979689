#include "adapter/io_adapter.h"

namespace KORVA::DTC {

IOAdapter_Connection::~IOAdapter_Connection() = default;
IOAdapter::~IOAdapter() = default;

} // namespace KORVA::DTC
