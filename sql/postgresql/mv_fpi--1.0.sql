/* The functions of mv_fpi; each takes a record as bytes or as text (Base64). */

-- complain if the script is sourced in psql rather than by CREATE EXTENSION
\echo Use "CREATE EXTENSION mv_fpi" to load this file. \quit

-- The costs are measured: bench/sql_bench prints that of mv_match.

CREATE FUNCTION mv_record(record bytea) RETURNS bytea
AS 'MODULE_PATHNAME', 'mv_record'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_record(record text) RETURNS bytea
AS 'MODULE_PATHNAME', 'mv_record_of_text'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_is_record(record bytea) RETURNS boolean
AS 'MODULE_PATHNAME', 'mv_is_record'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_is_record(record text) RETURNS boolean
AS 'MODULE_PATHNAME', 'mv_is_record_of_text'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_record_problem(record bytea) RETURNS text
AS 'MODULE_PATHNAME', 'mv_record_problem'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_record_problem(record text) RETURNS text
AS 'MODULE_PATHNAME', 'mv_record_problem_of_text'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_minutiae(record bytea) RETURNS integer
AS 'MODULE_PATHNAME', 'mv_minutiae'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;

CREATE FUNCTION mv_record_text(record bytea) RETURNS text
AS 'MODULE_PATHNAME', 'mv_record_text'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 30;

CREATE FUNCTION mv_match(probe bytea, record bytea) RETURNS integer
AS 'MODULE_PATHNAME', 'mv_match'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 1800;

CREATE FUNCTION mv_matches(probe bytea, record bytea, level integer) RETURNS boolean
AS 'MODULE_PATHNAME', 'mv_matches'
LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 1800;

-- The planner puts the body of each of these in its place, and makes bytes of a
-- constant text once. Bytes have no collation: a comparison with them is one that
-- postgres_fdw lets another server do.

CREATE FUNCTION mv_minutiae(record text) RETURNS integer
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_minutiae(mv_record(record));

CREATE FUNCTION mv_record_text(record text) RETURNS text
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_record_text(mv_record(record));

CREATE FUNCTION mv_match(probe text, record bytea) RETURNS integer
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_match(mv_record(probe), record);

CREATE FUNCTION mv_matches(probe text, record bytea, level integer) RETURNS boolean
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_matches(mv_record(probe), record, level);

CREATE FUNCTION mv_match(probe bytea, record text) RETURNS integer
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_match(probe, mv_record(record));

CREATE FUNCTION mv_matches(probe bytea, record text, level integer) RETURNS boolean
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_matches(probe, mv_record(record), level);

CREATE FUNCTION mv_match(probe text, record text) RETURNS integer
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_match(mv_record(probe), mv_record(record));

CREATE FUNCTION mv_matches(probe text, record text, level integer) RETURNS boolean
LANGUAGE SQL IMMUTABLE STRICT PARALLEL SAFE
RETURN mv_matches(mv_record(probe), mv_record(record), level);

-- A column of this type holds nothing that cannot be compared. Not "mv_record":
-- with a type of that name, mv_record('...') would be a cast.
CREATE DOMAIN mv_fingerprint AS bytea
CONSTRAINT mv_fingerprint_is_record CHECK (mv_is_record(VALUE));
