#include <vexa/mesh.h>

#include <iostream>

int main() {
    using namespace vexa::mesh;
    std::cout << getStringForPrimitiveType(TRIANGLE_STRIP) << ' ' << getComponentSizeInBytes(FLOAT) << '\n';
}
