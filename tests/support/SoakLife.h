//! @file
//! A random life of an add-in beside the stand-in host, checked against a plain model.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

namespace soak {

//! How much there is in a life.
enum class Size
{
    any,    //!< the seed chooses, most lives are small
    little, //!< a few boxes
    medium, //!< up to some hundred faces
    large,  //!< 5000 to 20,000 faces
    largest //!< a document of 20,000 faces, to the face
};

//! What is made wrong in a life on purpose, to see that it is noticed.
enum class Sabotage
{
    none,
    type,       //!< the model has another type of a reference
    box,        //!< another box
    docName,    //!< another document name
    bound,      //!< a bound reference is unbound behind the model's back
    registered, //!< a reference is taken out of the registry behind the model's back
    handle,     //!< a handle is kept that the model knows nothing of
    archive,    //!< the model has another record of an archive
    list,       //!< a child is dropped from a list behind the model's back
    object,     //!< a host object is kept past the end
    count,      //!< number of these
};

struct Plan
{
    std::uint64_t seed = 1;
    Size size = Size::any;
    Sabotage sabotage = Sabotage::none;
};

//! What was played.
struct Tally
{
    std::map<std::string, long> operations; //!< by name
    long lives = 0;
    long faulty = 0;    //!< operations with faults waiting
    long struck = 0;    //!< those that were struck
    long checked = 0;   //!< references compared
    long mostFaces = 0; //!< of a document
    long mostReferences = 0;
    bool isSabotaged = false; //!< there was something to make wrong

    [[nodiscard]] long steps() const;
};

//! What does not hold; the text tells seed, step, operation, expected and found.
class Violation : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

//! Plays a life from its start to its end, where all must have been given back.
//! @throws Violation
void playLife(const Plan& plan, Tally& tally);

} // namespace soak
