// Attributes of accessibility elements.
#include "ScreenCapture/thumbnail/element_attributes.h"

#include <string>

#include "ScreenCapture/platform/platform.h"

namespace orvo::thumbnail {

using platform::AttributeValue;
using platform::ElementRef;
using platform::platform;

namespace {

std::string numbers(double first, double second) {
    return "{" + std::to_string(first) + ", " + std::to_string(second) + "}";
}

struct ValueText {
    std::string operator()(std::monostate) const { return "(null)"; }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(bool value) const { return value ? "1" : "0"; }
    std::string operator()(double value) const { return std::to_string(value); }
    std::string operator()(platform::OtherValue) const { return "(other)"; }
    std::string operator()(const platform::Point& point) const { return numbers(point.x, point.y); }
    std::string operator()(const platform::Size& size) const { return numbers(size.width, size.height); }
    std::string operator()(const ElementRef& element) const { return platform().accessibility().describe(element); }
    std::string operator()(const std::vector<ElementRef>& list) const {
        return std::to_string(list.size()) + " elements";
    }
};

}  // namespace

AttributeValue readAttribute(const ElementRef& element, const char* attribute, AttributeValue defaultValue) {
    if (!element) return defaultValue;
    platform::Attribute answer = platform().accessibility().copyAttribute(element, attribute);
    return answer.error ? std::move(defaultValue) : std::move(answer.value);
}

bool writeAttribute(const ElementRef& element, const char* attribute, const AttributeValue& value) {
    if (!element) return false;
    auto& accessibility = platform().accessibility();
    const int32_t error = accessibility.setAttribute(element, attribute, value);
    if (error == 0) return true;
    platform().system().console("Error: Could not set accessibility attribute “" + std::string(attribute) +
                                "” with value “" + std::visit(ValueText(), value) + "” for element " +
                                accessibility.describe(element) + ". (" + std::to_string(error) + ")");
    return false;
}

}  // namespace orvo::thumbnail
