#pragma once

#include "Api/Route.h"

/// What serves the routes, a function each; the table in routes.cpp tells which is which. They return the answer or
/// throw a `Problem`.
namespace Ravik::Service
{

// entries.cpp
Response get_recipe(Call& call);
Response put_recipe(Call& call);
Response patch_recipe(Call& call);
Response delete_recipe(Call& call);
Response get_type(Call& call);
Response put_type(Call& call);
Response patch_type(Call& call);
Response delete_type(Call& call);
Response get_folder(Call& call);
Response post_folder(Call& call);
Response delete_folder(Call& call);
Response post_move(Call& call);

// lists.cpp
Response get_recipes(Call& call);
Response get_types(Call& call);
Response get_members(Call& call);
Response get_symbols(Call& call);

// uses.cpp
Response get_uses(Call& call);

// recipes.cpp
Response post_updates(Call& call);
void get_comparison(Call call, Reply reply);
void post_reading(Call call, Reply reply);
void get_active(Call call, Reply reply);
Response get_check(Call& call);

// tables.cpp
Response post_import(Call& call);
Response get_export(Call& call);

// activation_routes.cpp
void post_plan(Call call, Reply reply);
void post_activation(Call call, Reply reply);
Response get_activation(Call& call);
Response delete_activation(Call& call);

// symbols.cpp
void get_symbol(Call call, Reply reply);
void put_symbol(Call call, Reply reply);

// history.cpp
Response get_history(Call& call);
Response get_record(Call& call);
void post_revert(Call call, Reply reply);

// people.cpp
void post_session(Call call, Reply reply);
Response get_session(Call& call);
Response delete_session(Call& call);
void put_password(Call call, Reply reply);
Response get_users(Call& call);
Response post_user(Call& call);
Response put_user(Call& call);
Response delete_user(Call& call);
Response get_tokens(Call& call);
Response post_token(Call& call);
Response put_token(Call& call);
Response delete_token(Call& call);

// library.cpp
Response get_library(Call& call);

// health.cpp
Response get_health(Call& call);
Response get_readiness(Call& call);
Response get_metrics(Call& call);
Response get_description(Call& call);

// PageFiles.cpp
Response get_page_file(Call& call);

} // namespace Ravik::Service
