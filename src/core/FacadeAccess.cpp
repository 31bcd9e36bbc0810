#include "core/Facade.h"

namespace lxhf {

using Impl = LXHotelsFermoSDK::Impl;

std::unique_ptr<LXHotelsFermoSDK> FacadeAccess::make(FacadeParts parts) { return Impl::makeFacade(std::move(parts)); }
const std::string& FacadeAccess::token(const LXHotelsFermoSDK& sdk) {
    return Impl::of(sdk).token;
}
LXEnvironment FacadeAccess::environment(const LXHotelsFermoSDK& sdk) {
    return Impl::of(sdk).environment();
}
LXCorvaneInternal* FacadeAccess::engineIfMade(LXHotelsFermoSDK& sdk) { return Impl::of(sdk).engine.get(); }
LXCorvaneInternal& FacadeAccess::engine(LXHotelsFermoSDK& sdk) { return Impl::of(sdk).obtainEngine(); }
OfferBoard& FacadeAccess::board(LXHotelsFermoSDK& sdk) { return Impl::of(sdk).board; }
LoggerSlot& FacadeAccess::log(LXHotelsFermoSDK& sdk) { return *Impl::of(sdk).loggerSlot; }

}  // namespace lxhf
