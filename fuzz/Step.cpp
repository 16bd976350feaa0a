#include "Targets.h"
#include "standin/step/StepFile.h"

namespace kt_fuzz {

void stepRead(const unsigned char* aBytes, std::size_t aSize)
{
    const std::string text(aBytes, aBytes + aSize);
    try {
        const standin::geom::Model model = standin::step::readText(text, "fuzz.step");
        require(!model.products.empty(), "opened, and holds nothing");
    } catch (const standin::step::StepError& error) {
        require(std::string(error.what()).rfind("fuzz.step: ", 0) == 0, "no file in the message");
    }
}

} // namespace kt_fuzz
