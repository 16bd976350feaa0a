#include "standin/step/Assembly.h"

#include "standin/step/Scanner.h"

#include <vector>

namespace standin::step {

void refuseCycles(const geom::Model& model, const Exchange& exchange)
{
    enum class Mark
    {
        fresh,
        open,
        done
    };
    struct Step
    {
        std::size_t product;
        std::size_t next;
    };
    std::vector<Mark> marks(model.products.size(), Mark::fresh);
    // Without recursion: a chain of products may be as long as the file.
    std::vector<Step> path;
    for (std::size_t start = 0; start < marks.size(); ++start) {
        if (marks[start] == Mark::fresh) {
            marks[start] = Mark::open;
            path.push_back({start, 0});
        }
        while (!path.empty()) {
            Step& step = path.back();
            const geom::Product& product = model.products[step.product];
            if (step.next == product.occurrences.size()) {
                marks[step.product] = Mark::done;
                path.pop_back();
                continue;
            }
            const geom::Occurrence& occurrence = product.occurrences[step.next++];
            if (marks[occurrence.product] == Mark::open) {
                Scanner::fail("the assembly '" + model.products[occurrence.product].name +
                                  "' contains itself",
                              exchange.lineOf(occurrence.entity), occurrence.entity);
            }
            if (marks[occurrence.product] == Mark::fresh) {
                marks[occurrence.product] = Mark::open;
                path.push_back({occurrence.product, 0});
            }
        }
    }
}

} // namespace standin::step
