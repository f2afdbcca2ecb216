#include <lumbasic/LumObject.h>

const CLumRuntimeClass CLumObject::classCLumObject = {"CLumObject", 0xFFFF, nullptr, nullptr};
