#include <kvmath/numerics/random.h>

#include <kvmath/numerics/random_p.h>

#include <cstdlib>

namespace KvMath {

int Internal::draw15() { return static_cast<int>(std::rand() * 32768LL / (RAND_MAX + 1LL)); }

double randu() { return Internal::draw15() * (1.0 / 32768.0); }

double randn() {
    int sum = 0;
    for (int i = 0; i < 12; ++i)
        sum += Internal::draw15();
    return sum * (1.0 / 32768.0) - 6.0;
}

}  // namespace KvMath
