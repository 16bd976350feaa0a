#include "support/OccurrenceTree.h"

#include "support/HostIds.h"

#include <istream>
#include <sstream>
#include <stdexcept>

OccurrenceTree::OccurrenceTree(Scene& aScene, const std::string& aText) : mScene(&aScene)
{
    std::istringstream text(aText);
    MakeDocument("top", Read(text));
}

OccurrenceTree::Occurrences OccurrenceTree::Read(std::istream& aText)
{
    Occurrences result;
    std::string name;
    const auto finish = [&] {
        if (!name.empty()) {
            fake::Object* const known = Find(name);
            result.push_back(known != nullptr ? known : &MakePart(name));
            name.clear();
        }
    };
    for (char c = 0; aText.get(c) && c != ']';) {
        if (c == '[') {
            const std::string subassembly = name;
            name.clear();
            result.push_back(&MakeSubassembly(subassembly, Read(aText)));
        } else if (c == ' ') {
            finish();
        } else {
            name += c;
        }
    }
    finish();
    return result;
}

fake::Object& OccurrenceTree::MakePart(const std::string& aName)
{
    fake::Object& part = Make(aName).Answer(hostids::Occurrence);
    part.Property(L"Type", fake::givesNumber(hostids::typePartOccurrence));
    return part.Property(10, fake::givesBool(VARIANT_FALSE));
}

fake::Object& OccurrenceTree::MakeSubassembly(const std::string& aName,
                                              const Occurrences& aOccurrences)
{
    fake::Object& document = MakeDocument(aName + ".doc", aOccurrences);
    fake::Object& subassembly = Make(aName).Answer(hostids::Occurrence);
    subassembly.Property(L"Type", fake::givesNumber(hostids::typeSubassembly));
    subassembly.Property(10, fake::givesBool(VARIANT_TRUE));
    return subassembly.Property(38, fake::givesObject(&document));
}

fake::Object& OccurrenceTree::MakeDocument(const std::string& aName,
                                           const Occurrences& aOccurrences)
{
    Occurrences& places = mPlaces[aName] = aOccurrences;
    fake::Object& occurrences = Make(aName + ".occs").Answer(hostids::Occurrences);
    occurrences.Property(3, fake::givesNumber(static_cast<LONG>(places.size())));
    occurrences.Method(DISPID{0}, [&places](const fake::Args& aArgs, VARIANT* aResult) -> HRESULT {
        const LONG index = aArgs.Number(0);
        if (index < 1 || index > static_cast<LONG>(places.size())) {
            return DISP_E_BADINDEX;
        }
        return fake::givesObject(places[static_cast<std::size_t>(index - 1)])(aArgs, aResult);
    });
    fake::Object& document = Make(aName).Answer(hostids::AssemblyDocument);
    document.Property(L"Type", fake::givesNumber(hostids::typeAssemblyDocument));
    document.Property(0x4006, fake::givesObject(&occurrences));
    return document.Method(38, [this](const fake::Args& aArgs, VARIANT* aResult) {
        fake::Object& reference = Make("ref" + std::to_string(++mReferences));
        return fake::givesObject(&reference)(aArgs, aResult);
    });
}

fake::Object*& OccurrenceTree::Place(const std::string& aDocument, std::size_t aIdx)
{
    return mPlaces.at(aDocument).at(aIdx - 1);
}

std::vector<std::string> OccurrenceTree::Made() const
{
    std::vector<std::string> result;
    for (const std::string& call : mScene->world.Calls()) {
        if (fake::matches("*.38(*", call)) {
            result.push_back(call);
        }
    }
    return result;
}

fake::Object& OccurrenceTree::Make(const std::string& aName)
{
    mObjects.push_back(&mScene->world.Make(aName));
    return *mObjects.back();
}

fake::Object* OccurrenceTree::Find(const std::string& aName) const
{
    for (fake::Object* const object : mObjects) {
        if (object->Name() == aName) {
            return object;
        }
    }
    return nullptr;
}

fake::Object& OccurrenceTree::At(const std::string& aName) const
{
    fake::Object* const found = Find(aName);
    if (found == nullptr) {
        throw std::invalid_argument("no object " + aName);
    }
    return *found;
}

std::vector<std::string> typeCalls(const std::string& aObject)
{
    return {aObject + ".Type?", aObject + ".get Type()"};
}

std::vector<std::string> walkCalls(const std::string& aDocument)
{
    return {aDocument + ".get 16390()", aDocument + ".occs.get 3()"};
}
