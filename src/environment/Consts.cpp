#include "environment/Consts.h"

Consts& Consts::GetInstance() {
    static Consts instance;
    return instance;
}
