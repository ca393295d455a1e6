// A host that registers its own variables, parses an expression once, checks
// the diagnostics, and evaluates it in a loop while the variables change.
#include <cstdio>
#include <memory>

#include "functionfloatbase.h"
#include "functionparserbase.h"

int main()
{
    double speed = 0.0;
    int gear = 1;
    bool boost = false;

    FunctionParserBase parser;  // starts with the keys pi, e and epsilon
    parser.insertKey("speed", &speed);
    parser.insertKey("Gear", &gear);  // key names are lower-cased: "gear"
    parser.insertKey("boost", &boost);

    ParseMessage message{};
    std::unique_ptr<FunctionFloatBase> power(
        parser.parseString("max(speed * gear, 2) * if(boost, 1.5, 1)", message));
    if (!message.errors.empty()) {
        for (const auto& fault : message.errors)
            std::fprintf(stderr, "fault at %d (length %d) in %s\n", fault.first, fault.second,
                         message.text.c_str());
        return 1;
    }

    std::printf("%s\n", power->getString().c_str());  // the normalised text
    for (int step = 0; step < 6; ++step) {
        speed = step * 0.75;
        gear = 1 + step / 2;
        boost = step >= 4;
        std::printf("speed %.2f gear %d boost %d -> %.4f\n", speed, gear, boost ? 1 : 0, (*power)());
    }

    // A faulty text still yields a tree; the message says what went wrong.
    std::unique_ptr<FunctionFloatBase> faulty(parser.parseString("speed + sped", message));
    std::printf("'%s': %zu fault(s), first at %d, length %d\n", message.text.c_str(),
                message.errors.size(), message.errors.at(0).first, message.errors.at(0).second);
    return message.errors.size() == 1 ? 0 : 1;
}
