// A host mapper: names like "obj.pos[2]" are bound to fields of the host's own
// structures without registering each one as a key.
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "functionparserbase.h"
#include "parservarmapper.h"

struct Body {
    double pos[3];
    float mass;
    int hits;
};

class BodyMapper : public ParserVarMapper {
public:
    explicit BodyMapper(std::map<std::string, Body>& bodies) : bodies_(bodies) {}

    // Asked about every operand (numbers and key names too): answer only the
    // names we know, null for everything else.
    FunctionFloatBase* mapVariable(const std::string& name) override
    {
        std::string bodyName, field;
        splitVarName(name, bodyName, field);
        auto body = bodies_.find(bodyName);
        if (body == bodies_.end() || field == bodyName)
            return nullptr;
        if (field == "mass")
            return createFloatVar(&body->second.mass);
        if (field == "hits")
            return createIntVar(&body->second.hits);
        if (field == "pos") {
            const int index = extractArrayIndex(name);
            if (index >= 0 && index < 3)
                return createDoubleVar(&body->second.pos[index]);
        }
        return nullptr;
    }

private:
    std::map<std::string, Body>& bodies_;
};

int main()
{
    std::map<std::string, Body> bodies{{"ball", {{1.0, 2.0, 3.0}, 0.5f, 0}},
                                       {"box", {{-1.0, 0.0, 4.0}, 2.0f, 3}}};
    BodyMapper mapper(bodies);
    FunctionParserBase parser;
    parser.setVarMapper(&mapper);  // the parser never owns the mapper

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> height(
        parser.parseString("max(ball.pos[2], box.pos[2]) + box.hits * ball.mass", message));
    if (!message.errors.empty()) {
        std::fprintf(stderr, "%zu fault(s) in %s\n", message.errors.size(), message.text.c_str());
        return 1;
    }
    std::printf("%s = %g\n", message.text.c_str(), (*height)());
    bodies["ball"].pos[2] = 10.0;  // the tree reads the field anew
    std::printf("after the ball moved: %g\n", (*height)());

    std::unique_ptr<FunctionFloatBase> unknown(parser.parseString("ball.pos[7]", message));
    std::printf("ball.pos[7]: %zu fault(s)\n", message.errors.size());
    parser.setVarMapper(nullptr);
    return (*height)() == 11.5 && message.errors.size() == 1 ? 0 : 1;
}
