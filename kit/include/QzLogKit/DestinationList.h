#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLog/Dispatcher.h>
#include <QzLogKit/Export.h>

#include <concepts>
#include <cstddef>
#include <ranges>
#include <span>
#include <vector>

namespace QzLogKit
{
    namespace DestinationListDetails
    {
        inline QzLog::Destination* PointerOf(QzLog::Destination* destination)
        {
            return destination;
        }

        template <class Counted>
        auto PointerOf(Counted const& destination) -> decltype(destination.get())
        {
            return destination.get();
        }
    }

    /// A pointer to a destination of any kind, plain or counted.
    template <class Pointer>
    concept DestinationPointer = requires(Pointer const& pointer)
    {
        {
            DestinationListDetails::PointerOf(pointer)
            } -> std::convertible_to<QzLog::Destination*>;
    };

    /// The destinations in this order, with a reference to each, for Dispatcher::SetDestinations. None may be null:
    /// SetDestinations refuses such a list. The two forms below take counted pointers as they are. All throw
    /// std::bad_alloc.
    ///
    ///     dispatcher->SetDestinations(QzLogKit::CreateDestinationList(file, QzLog::GetDestination_DebugOutput()));
    ///     dispatcher->SetDestinations(QzLogKit::CreateDestinationList(std::vector{file, errorFile}));
    QZLOGKIT_API QzBase::ReturnPtrI<QzLog::DestinationCollection> CreateDestinationList(
        std::span<QzLog::Destination* const> destinations);

    /// Of pointers, of any kinds.
    template <DestinationPointer... Pointers>
    QzBase::ReturnPtrI<QzLog::DestinationCollection> CreateDestinationList(Pointers const&... destinations)
    {
        std::vector<QzLog::Destination*> const list{DestinationListDetails::PointerOf(destinations)...};
        return CreateDestinationList(std::span<QzLog::Destination* const>(list));
    }

    /// Of a range of pointers of one kind.
    template <std::ranges::input_range Range>
    requires DestinationPointer<std::ranges::range_value_t<Range>> QzBase::ReturnPtrI<QzLog::DestinationCollection>
    CreateDestinationList(Range const& destinations)
    {
        std::vector<QzLog::Destination*> list;
        if constexpr (std::ranges::sized_range<Range const>)
            list.reserve(static_cast<std::size_t>(std::ranges::size(destinations)));
        for (auto const& destination : destinations)
            list.push_back(DestinationListDetails::PointerOf(destination));
        return CreateDestinationList(std::span<QzLog::Destination* const>(list));
    }
}
