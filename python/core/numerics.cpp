// Linear algebra of kvmath on arrays. svdcmp counts rows and columns from 1 and takes
// pointers to rows; both are made over one copy of the matrix.
#include "python/core/bindings.h"
#include "python/core/casts.h"

#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/svd.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

constexpr py::ssize_t kMostElements = 20'000'000;

/// A matrix without NaN and infinity.
py::array_t<double> matrixFrom(const py::handle& array, const char* parameter) {
    py::array_t<double> matrix = tableFrom(array, parameter, 0);
    if (matrix.size() == 0 || matrix.size() > kMostElements)
        throw argumentError(parameter,
                            QString("needs 1 to %1 elements, not %2").arg(kMostElements).arg(matrix.size()));
    for (py::ssize_t i = 0; i < matrix.size(); ++i) {
        if (!std::isfinite(matrix.data()[i]))
            throw argumentError(parameter, QString("element %1 is %2").arg(i).arg(matrix.data()[i]));
    }
    return matrix;
}

std::vector<double*> rowsOf(std::vector<double>& cells, int rows, int columns) {
    std::vector<double*> pointers(static_cast<std::size_t>(rows) + 1);
    for (std::size_t i = 0; i < pointers.size(); ++i)
        pointers[i] = cells.data() + i * (static_cast<std::size_t>(columns) + 1);
    return pointers;
}

/// U, w, V with the greatest value first.
py::tuple svd(const py::handle& array) {
    const py::array_t<double> matrix = matrixFrom(array, "matrix");
    const auto m = static_cast<int>(matrix.shape(0));
    const auto n = static_cast<int>(matrix.shape(1));
    const auto width = static_cast<std::size_t>(n) + 1;
    if (n > 4000)
        throw argumentError("matrix", QString("needs at most 4000 columns, not %1").arg(n));
    std::vector<double> u((static_cast<std::size_t>(m) + 1) * width), v(width * width), w(width);
    for (int i = 0; i < m; ++i)
        std::copy(matrix.data(i, 0), matrix.data(i, 0) + n,
                  &u[(static_cast<std::size_t>(i) + 1) * width + 1]);
    std::vector<double*> uRows = rowsOf(u, m, n), vRows = rowsOf(v, n, n);
    {
        const py::gil_scoped_release release;
        if (!KvMath::svdcmp(uRows.data(), m, n, w.data(), vRows.data()))
            throw Error("the decomposition does not converge");
    }
    std::vector<int> order(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        order[static_cast<std::size_t>(i)] = i + 1;
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return w[static_cast<std::size_t>(a)] > w[static_cast<std::size_t>(b)];
    });
    py::array_t<double> left({m, n}), right({n, n}), values(n);
    for (int j = 0; j < n; ++j) {
        const int from = order[static_cast<std::size_t>(j)];
        values.mutable_at(j) = w[static_cast<std::size_t>(from)];
        for (int i = 0; i < m; ++i)
            left.mutable_at(i, j) = uRows[static_cast<std::size_t>(i) + 1][from];
        for (int i = 0; i < n; ++i)
            right.mutable_at(i, j) = vRows[static_cast<std::size_t>(i) + 1][from];
    }
    return py::make_tuple(left, values, right);
}

std::vector<double> leastSquares(const py::handle& array, const py::handle& right, double tolerance) {
    const py::array_t<double> matrix = matrixFrom(array, "matrix");
    const std::vector<double> b = numbersFrom(right, "values");
    if (static_cast<py::ssize_t>(b.size()) != matrix.shape(0))
        throw argumentError("values",
                            QString("has %1 numbers for %2 rows").arg(b.size()).arg(matrix.shape(0)));
    std::vector<double> x(static_cast<std::size_t>(matrix.shape(1)));
    const py::gil_scoped_release release;
    if (!KvMath::svdLeastSquares(matrix.data(), b.data(), static_cast<int>(matrix.shape(0)),
                                 static_cast<int>(matrix.shape(1)), tolerance, x.data()))
        throw Error("the decomposition does not converge");
    return x;
}

py::array fitPlane(const py::handle& points) {
    const py::array_t<double> table = tableFrom(points, "points", 3);
    const py::array_t<double> finite = matrixFrom(table, "points");
    py::array_t<double> plane(4);
    double* const p = plane.mutable_data();
    const py::gil_scoped_release release;
    if (finite.shape(0) < 3 || !KvMath::planeFitting(finite.data(), static_cast<int>(finite.shape(0)), p))
        throw argumentError("points", "a plane needs three points at least");
    return py::array(std::move(plane));
}

}  // namespace

void bindNumerics(py::module_& module) {
    module.def("svd", &svd, py::arg("matrix"),
               "(U (m, n), w (n,), V (n, n)) with matrix = U diag(w) V^T, the greatest value first. Seven "
               "digits hold: the\n"
               "library rounds lengths to single precision (docs/numerics/decomposition.md).");
    module.def("least_squares", &leastSquares, py::arg("matrix"), py::arg("values"), py::kw_only(),
               py::arg("tolerance") = 1e-12,
               "x (n,) of least squares of matrix (m, n) x = values (m,); of several the one of least norm. "
               "Singular values below\n"
               "tolerance times the greatest count as 0. Seven digits hold, as those of svd.");
    module.def("fit_plane", &fitPlane, py::arg("points"),
               "(a, b, c, d) of the plane a x + b y + c z + d = 0 nearest to points (n, 3), (a, b, c) of "
               "unit length, c >= 0.");
}

}  // namespace KvMathPython
