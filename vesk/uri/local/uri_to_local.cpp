// Interim definitions so the class links; replaced by the real operations.
#include "vesk/uri/uri"

namespace Vesk {

URI::StringProxy URI::ToLocalPath() const { return ToLocalPathUnix(); }
URI::StringProxy URI::ToLocalPathMac() const { return StringProxy(); }
URI::StringProxy URI::ToLocalPathUnix() const { return StringProxy(); }
URI::StringProxy URI::ToLocalPathWin() const { return StringProxy(); }

}  // namespace Vesk
