#include "Core/Throw.h"

#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>

namespace Tarsel::Core {

char const* Site::GetSourceName(char const* path) {
    constexpr std::string_view root = "/src/";
    std::string_view name = path;
    if (std::size_t const at = name.rfind(root); at != std::string_view::npos)
        name.remove_prefix(at + root.size());
    name = name.substr(0, name.rfind('.'));

    // Sites are asked for where nothing is thrown, too: a known name takes no memory and keeps nobody
    // waiting.
    static std::shared_mutex s_lock;
    // Never destroyed: exceptions may outlive the library's statics.
    static auto& s_names = *new std::set<std::string, std::less<>>();
    {
        std::shared_lock const lock(s_lock);
        if (auto const known = s_names.find(name); known != s_names.end())
            return known->c_str();
    }
    std::lock_guard const lock(s_lock);
    return s_names.emplace(name).first->c_str();
}

boost::exception const& AddStack(boost::exception const& exception) {
    return exception << TagCallStack(GetCallStack());
}

void AddFacts(boost::exception const& exception, std::string const& description, std::uint32_t column) {
    exception << TagDescription(description) << TagThrowColumn(column);
    AddStack(exception);
}

} // namespace Tarsel::Core
