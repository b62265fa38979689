#include "tools/dtcctl/adapter_check/binding.h"

#include "tools/dtcctl/adapter_check/library.h"

#include <algorithm>
#include <cstdint>
#include <map>

namespace dtcctl {
namespace {

using Address = ElfW(Addr);

/// The entries of a library's dynamic section by their tags.
class DynamicSection
{
public:
    explicit DynamicSection(link_map const& library) : m_base(library.l_addr)
    {
        for (ElfW(Dyn) const* entry = library.l_ld; entry->d_tag != DT_NULL; ++entry)
            m_values[entry->d_tag] = entry->d_un.d_val;
    }

    std::size_t value(std::int64_t tag) const
    {
        auto const found = m_values.find(tag);
        return found == m_values.end() ? 0 : static_cast<std::size_t>(found->second);
    }

    bool has(std::int64_t tag) const { return m_values.count(tag) != 0; }

    /// The dynamic loader has made most addresses absolute, but not on every machine.
    template <typename Item>
    Item const* table(std::int64_t tag) const
    {
        Address const address = value(tag);
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        return reinterpret_cast<Item const*>(address < m_base ? address + m_base : address);
    }

private:
    Address m_base;
    std::map<std::int64_t, std::uint64_t> m_values;
};

constexpr std::size_t symbolOf(std::size_t info)
{
    return sizeof(Address) == 8 ? info >> 32 : info >> 8;
}

/// Adds the symbols that a table of relocations refers to.
template <typename Relocation>
void addSymbols(DynamicSection const& section, std::int64_t table, std::int64_t size,
                std::vector<std::size_t>& symbols)
{
    auto const* const relocations = section.table<Relocation>(table);
    for (std::size_t i = 0; i < section.value(size) / sizeof(Relocation); ++i)
        symbols.push_back(symbolOf(relocations[i].r_info));
}

std::vector<std::size_t> symbolsReferredTo(DynamicSection const& section)
{
    std::vector<std::size_t> symbols;
    addSymbols<ElfW(Rela)>(section, DT_RELA, DT_RELASZ, symbols);
    addSymbols<ElfW(Rel)>(section, DT_REL, DT_RELSZ, symbols);
    if (section.value(DT_PLTREL) == DT_RELA)
        addSymbols<ElfW(Rela)>(section, DT_JMPREL, DT_PLTRELSZ, symbols);
    else
        addSymbols<ElfW(Rel)>(section, DT_JMPREL, DT_PLTRELSZ, symbols);
    return symbols;
}

} // namespace

std::vector<std::string> looseEntries(link_map const& library)
{
    DynamicSection const section(library);
    std::vector<std::string> loose;
    if (section.has(DT_SYMBOLIC) || (section.value(DT_FLAGS) & DF_SYMBOLIC) != 0)
        return loose;
    auto const* const symbols = section.table<ElfW(Sym)>(DT_SYMTAB);
    auto const* const names = section.table<char>(DT_STRTAB);
    for (std::size_t const symbol : symbolsReferredTo(section)) {
        std::string const name = names + symbols[symbol].st_name;
        bool const isOwn = symbols[symbol].st_shndx != SHN_UNDEF;
        bool const isEntry =
            std::find(entryNames.begin(), entryNames.end(), name) != entryNames.end();
        bool const isNew = std::find(loose.begin(), loose.end(), name) == loose.end();
        if (isOwn && isEntry && isNew)
            loose.push_back(name);
    }
    return loose;
}

} // namespace dtcctl
