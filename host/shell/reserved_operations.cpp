#include "host/shell/reserved_operations.h"

#include <utility>

namespace host::shell {

namespace {

using Words = std::array<RWORD, kMostReservedWords>;
using T = CRRecordTranslator;

template <class Owner, class... Word, std::size_t... index>
RRETURNCODE Apply(T& translator, RRETURNCODE (Owner::*operation)(Word...), const Words& words,
                  std::index_sequence<index...>) {
    return (translator.*operation)(words[index]...);
}

template <class Owner, class... Word>
RRETURNCODE Apply(T& translator, RRETURNCODE (Owner::*operation)(Word...), const Words& words) {
    return Apply(translator, operation, words, std::index_sequence_for<Word...>{});
}

template <auto operation>
RRETURNCODE Call(T& translator, const Words& words) {
    return Apply(translator, operation, words);
}

using Caller = RRETURNCODE (*)(T&, const Words&);

constexpr std::array<Caller, kReservedOperations> kCallers = {
    Call<&T::ReservedOp1>,  Call<&T::ReservedOp2>,  Call<&T::ReservedOp3>,  Call<&T::ReservedOp4>,
    Call<&T::ReservedOp5>,  Call<&T::ReservedOp6>,  Call<&T::ReservedOp7>,  Call<&T::ReservedOp8>,
    Call<&T::ReservedOp9>,  Call<&T::ReservedOp10>, Call<&T::ReservedOp11>, Call<&T::ReservedOp12>,
    Call<&T::ReservedOp13>, Call<&T::ReservedOp14>, Call<&T::ReservedOp15>, Call<&T::ReservedOp16>,
    Call<&T::ReservedOp17>, Call<&T::ReservedOp18>, Call<&T::ReservedOp19>, Call<&T::ReservedOp20>,
    Call<&T::ReservedOp21>, Call<&T::ReservedOp22>, Call<&T::ReservedOp23>, Call<&T::ReservedOp24>,
    Call<&T::ReservedOp25>, Call<&T::ReservedOp26>, Call<&T::ReservedOp27>, Call<&T::ReservedOp28>,
    Call<&T::ReservedOp29>, Call<&T::ReservedOp30>, Call<&T::ReservedOp31>, Call<&T::ReservedOp32>,
    Call<&T::ReservedOp33>};

}  // namespace

RRETURNCODE CallReserved(CRRecordTranslator& translator, std::size_t number, const Words& words) {
    return kCallers[number - 1](translator, words);
}

}  // namespace host::shell
